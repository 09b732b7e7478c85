#pragma once

#include <cstddef>
#include <memory>

#include "platform/HttpSession.h"

namespace pell {

/// HTTP/1.1 through libcurl, all requests on one thread, so that a slow one holds nobody up. Connections are
/// kept for the next request. Certificates are verified; plain HTTP goes to loopback addresses only, as what
/// is sent are tokens and speech.
///
/// Completions run on the session's thread and must be quick; they may send again and must not destroy the
/// session.
class CurlHttpSession final : public HttpSession {
 public:
  static constexpr std::size_t defaultLargestReply = 64u << 20;

  /// `largestReply` bounds the body of a reply in bytes; a longer one is a failure.
  explicit CurlHttpSession(std::size_t largestReply = defaultLargestReply);
  ~CurlHttpSession() override;

  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) override;

 private:
  class Worker;
  std::unique_ptr<Worker> worker_;
};

}  // namespace pell
