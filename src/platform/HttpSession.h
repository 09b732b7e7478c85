// Requests to the server.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "async/Time.h"

namespace pell {

struct HttpRequest {
  std::string url;  // absolute
  std::string method = "GET";
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  Seconds timeout{60.0};           // longest silence, counted from the last byte that moved
  Seconds resourceTimeout{180.0};  // for the whole exchange
  bool operator==(const HttpRequest&) const = default;
};

struct HttpResponse {
  std::optional<int> status;                   // absent when what answered does not speak HTTP
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
};

/// The exchange did not take place: no connection, a time-out, a reply that broke off.
struct HttpFailure {
  std::string description;
};

using HttpOutcome = std::variant<HttpResponse, HttpFailure>;

class HttpSession {
 public:
  virtual ~HttpSession() = default;

  /// Sends a request. `completion` runs once, on any thread. Redirects are not followed; cookies are not
  /// kept. Any thread; never blocks. Destroying the session drops what is still in flight.
  virtual void send(HttpRequest request, std::function<void(HttpOutcome)> completion) = 0;
};

}  // namespace pell
