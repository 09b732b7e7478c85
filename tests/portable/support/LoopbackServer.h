#pragma once

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "contracts/Served.h"

namespace pell::testing {

/// A small HTTP/1.1 server on a free port of 127.0.0.1 that answers by script, well or badly. Connections are
/// kept open between whole replies.
class LoopbackServer {
 public:
  /// Bytes as they go out, each piece after its own wait.
  struct Piece {
    std::string bytes;
    Seconds wait{0};
  };
  struct Script {
    std::vector<Piece> pieces;
    enum class Ending { keep, close, stall } ending = Ending::keep;
  };

  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  int port() const { return port_; }

  /// What the next unanswered request gets; without a script, an empty 200.
  void serve(Script script);
  void serve(const ServedReply& reply);

  std::vector<ServedRequest> received() const;
  std::size_t connections() const;

  /// Nobody listens any more, and open connections end.
  void stop();

 private:
  void acceptAll();
  void talk(int socket);
  bool play(int socket, const Script& script);
  bool pause(Seconds span);

  mutable std::mutex mutex_;
  std::condition_variable ended_;
  bool stopping_ = false;
  std::deque<Script> scripts_;
  std::vector<ServedRequest> received_;
  int listener_ = -1;
  int port_ = 0;
  std::list<int> sockets_;
  std::list<std::thread> talks_;
  std::thread accepting_;
};

}  // namespace pell::testing
