#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "localserver/Arguments.h"
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

/// The one socket that whoever started this process listens on for it (LISTEN_FDS and LISTEN_PID, as systemd
/// does); nothing where there is none. Throws StartFailure where there are several, or it is no such socket.
std::optional<ListenSocket> inheritedSocket(const Environment& environment);

/// "http://127.0.0.1:8787", with the address that the socket is bound to.
std::string urlOf(const ListenSocket& socket);

/// Whether nobody but this machine can reach what listens on the socket.
bool isLoopback(const ListenSocket& socket);

}  // namespace pell::localserver
