// A server inside the process: signs in at once, and holds the reply to a dictation until it is told.
#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "platform/HttpSession.h"
#include "platform/portable/ThreadExecutor.h"

namespace pell::bench {

class ScriptedServer final : public HttpSession {
 public:
  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) override;

  /// A dictation is waiting for its reply.
  bool isAsked() const;

  /// Replies to it with `text` on a thread of the server's own, as a network would. Gives when that was.
  Instant reply(const std::string& text);

 private:
  mutable std::mutex mutex_;
  std::function<void(HttpOutcome)> dictation_;
  ThreadExecutor lane_{"server"};
};

}  // namespace pell::bench
