#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "localserver/HttpServer.h"

namespace pell::localserver {

/// The server cannot begin; the text is a sentence for the operator.
class StartFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Binds and listens on `host` (a numeric address or a name) and `port`; 0 takes a free port. Throws
/// StartFailure.
ListenSocket listenOn(const std::string& host, std::uint16_t port);

/// Whether nobody but this machine can reach what listens on the socket.
bool isLoopback(const ListenSocket& socket);

}  // namespace pell::localserver
