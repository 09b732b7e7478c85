#pragma once

#include <QLocalServer>
#include <filesystem>
#include <functional>

#include "app/ControlMessage.h"

class QLocalSocket;

namespace pell {

/// The running application's ear: takes one request a connection and answers it. Main thread. The socket
/// is open to the user alone.
class ControlServer {
 public:
  /// `answer` may be called later; a client that has gone by then is forgotten.
  using Answer = std::function<void(ControlReply)>;
  using Handler = std::function<void(const ControlRequest& request, Answer answer)>;

  explicit ControlServer(Handler handler);

  /// Takes over a socket that a dead instance left behind, so the instance lock must be held. False when
  /// the socket cannot be made.
  bool listen(const std::filesystem::path& socket);

 private:
  void accept(QLocalSocket* client);
  void read(QLocalSocket* client);

  Handler handler_;
  QLocalServer server_;
};

}  // namespace pell
