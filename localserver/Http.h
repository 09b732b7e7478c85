// What passes between the HTTP server and the application behind it. No type of the HTTP library shows here.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "localserver/ApiError.h"

namespace pell::localserver {

/// A request whose headers have arrived.
struct RequestHead {
  std::string id;
  std::string method;
  /// Decoded, without the query.
  std::string path;
  std::map<std::string, std::string> query;
  /// Lower case, without parameters; empty where the client sent none.
  std::string contentType;
  /// The token of an "Authorization: Bearer" header; empty where there is none.
  std::string bearerToken;
  /// Numeric address of the client, without the port.
  std::string clientAddress;
  /// When all of the above was here.
  std::chrono::steady_clock::time_point arrived;
};

/// A request that is wholly here.
struct HttpRequest {
  RequestHead head;
  std::string body;
  /// Stop is requested when the client has gone or the server ends.
  std::stop_token stop;
};

struct HttpReply {
  int status = 200;
  std::string body;
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string contentType = "application/json";
};

/// What a request costs. Each kind of work has threads of its own, so that none has to wait for another.
enum class Effort {
  /// Milliseconds.
  quick,
  /// Hashes a password: a tenth of a second and much memory, and strangers may ask for it.
  password,
  /// Seconds or minutes. Blanks keep the connection awake meanwhile; the reply is JSON.
  lengthy,
};

/// What is to happen with a request once its headers are known.
struct Admission {
  /// Set: the request ends with this reply, and its body is thrown away unread or as it comes.
  std::optional<HttpReply> refusal;
  /// Bytes of body that are accepted.
  std::size_t bodyLimit = 0;
  Effort effort = Effort::quick;
  /// Called once on a worker thread when the body is here, and let go of right afterwards. It must not throw.
  std::function<HttpReply(const HttpRequest&)> work;
};

/// The application behind the server.
class HttpApplication {
 public:
  virtual ~HttpApplication() = default;

  /// Decides about a request before its body is read. On one of the threads for quick work; it must not
  /// throw.
  virtual Admission admit(const RequestHead& head) = 0;
};

/// What the log is told of a finished request.
struct RequestSummary {
  std::string id;
  std::string method;
  std::string path;
  /// 0 where the client went away before a reply.
  int status = 0;
  std::chrono::milliseconds took{0};
};

/// The headers that go with the status of an error.
inline void addAdvice(const ApiError& error, HttpReply& reply) {
  if (error.status == 401) reply.headers.emplace_back("WWW-Authenticate", "Bearer");
  if (error.status == 429 || error.status == 503) {
    reply.headers.emplace_back("Retry-After", std::to_string(error.retryAfter.count()));
  }
}

inline HttpReply errorReply(const ApiError& error, const std::string& requestId) {
  HttpReply reply{.status = error.status, .body = errorBody(error, requestId), .headers = {}};
  addAdvice(error, reply);
  return reply;
}

}  // namespace pell::localserver
