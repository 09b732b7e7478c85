// The one shape in which this server says no.
#pragma once

#include <chrono>
#include <exception>
#include <string>

namespace pell::localserver {

/// A refusal as the API tells it: `status` is the HTTP status, `code` a stable word for programs, `message` a
/// sentence for the person at the other end.
struct ApiError {
  int status = 500;
  std::string code;
  std::string message;
  /// With status 429 or 503: when to come back.
  std::chrono::seconds retryAfter{60};

  friend bool operator==(const ApiError&, const ApiError&) = default;
};

/// Thrown by whatever works on a request to end it with an error reply.
class Refusal : public std::exception {
 public:
  explicit Refusal(ApiError error) : error_(std::move(error)) {}

  const ApiError& error() const { return error_; }
  const char* what() const noexcept override { return error_.code.c_str(); }

 private:
  ApiError error_;
};

/// The JSON of an error reply. Bytes in the message that are not UTF-8 are replaced.
std::string errorBody(const ApiError& error, const std::string& requestId);

}  // namespace pell::localserver
