// How a call to the server can fail.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <variant>

namespace pell {

/// Thrown by the calls of `ApiClient`; known there as `ApiClient::Failure`.
class ApiFailure : public std::exception {
 public:
  /// The server's own error.
  struct Api {
    std::string code;     // stable, for programs
    std::string message;  // a sentence for the user
    std::int64_t status = 0;
    bool operator==(const Api&) const = default;
  };
  struct Offline {
    bool operator==(const Offline&) const = default;
  };
  struct SignedOut {
    bool operator==(const SignedOut&) const = default;
  };
  struct MalformedResponse {
    bool operator==(const MalformedResponse&) const = default;
  };
  using Content = std::variant<Api, Offline, SignedOut, MalformedResponse>;

  ApiFailure(Content content);

  static ApiFailure api(std::string code, std::string message, std::int64_t status);
  static ApiFailure offline() { return Content(Offline{}); }
  static ApiFailure signedOut() { return Content(SignedOut{}); }
  static ApiFailure malformedResponse() { return Content(MalformedResponse{}); }

  const Content& content() const { return content_; }

  /// A sentence fit to show the user.
  const std::string& description() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

  bool isQuotaExceeded() const { return hasCode("QUOTA_EXCEEDED"); }
  bool isEmailUnavailable() const { return hasCode("EMAIL_UNAVAILABLE"); }

  bool operator==(const ApiFailure& other) const { return content_ == other.content_; }

 private:
  bool hasCode(std::string_view code) const;

  Content content_;
  std::string description_;
};

}  // namespace pell
