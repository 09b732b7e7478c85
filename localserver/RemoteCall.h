// One request to a service that the operator named.
#pragma once

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace pell::localserver {

/// No reply, or one of failure. The words are for the log: they hold nothing of what was sent or answered.
class RemoteFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A POST, made once. Redirections are not followed; a reply of more than 4 MB is a failure.
class RemoteCall {
 public:
  struct Setup {
    /// The whole address, http or https.
    const std::string& url;
    /// Sent as a bearer token.
    const std::optional<std::string>& key;
    std::chrono::milliseconds limit;
    std::stop_token stop;
  };

  explicit RemoteCall(const Setup& setup);

  /// A file of the form, as others call it.
  struct File {
    const std::string& content;
    std::string name;
    std::string mediaType;
  };
  void addField(const char* name, const std::string& value);
  void addFile(const char* name, const File& file);

  /// Sends the form; gives the body of the reply. Throws RemoteFailure, soon after stop is requested at the
  /// latest.
  std::string sendForm();
  /// The same with a body of JSON.
  std::string sendJson(const std::string& body);

 private:
  std::string send(const char* contentType);

  struct Free {
    void operator()(CURL* easy) const;
    void operator()(curl_mime* form) const;
  };

  const Setup setup_;
  std::unique_ptr<CURL, Free> easy_;
  std::unique_ptr<curl_mime, Free> form_;
};

}  // namespace pell::localserver
