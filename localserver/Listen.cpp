#include "localserver/Listen.h"

#include <arpa/inet.h>
#include <array>
#include <fcntl.h>
#include <fmt/format.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace pell::localserver {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

sockaddr_storage boundAddress(int descriptor) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
  return address;
}

ListenSocket described(int descriptor) {
  const sockaddr_storage address = boundAddress(descriptor);
  const bool ipv6 = address.ss_family == AF_INET6;
  const auto networkPort = ipv6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                : reinterpret_cast<const sockaddr_in&>(address).sin_port;
  return {.descriptor = descriptor, .ipv6 = ipv6, .port = ntohs(networkPort)};
}

}  // namespace

ListenSocket listenOn(const std::string& host, std::uint16_t port) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (const int result = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found);
      result != 0) {
    throw StartFailure(fmt::format("The address {} cannot be listened on: {}.", host, gai_strerror(result)));
  }
  const std::unique_ptr<addrinfo, FreeAddresses> list(found);
  const int descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const int on = 1;
  if (descriptor >= 0) setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (descriptor < 0 || bind(descriptor, found->ai_addr, found->ai_addrlen) != 0 ||
      listen(descriptor, 512) != 0) {
    const int error = errno;
    if (descriptor >= 0) close(descriptor);
    if (error == EADDRINUSE) {
      throw StartFailure(fmt::format("Port {} on {} is in use by another program.", port, host));
    }
    throw StartFailure(fmt::format("Port {} on {} cannot be listened on: {}.", port, host,
                                   std::generic_category().message(error)));
  }
  return described(descriptor);
}

std::optional<ListenSocket> inheritedSocket(const Environment& environment) {
  constexpr int firstInherited = 3;
  if (environment("LISTEN_PID") != std::to_string(getpid())) return std::nullopt;
  if (environment("LISTEN_FDS") != "1")
    throw StartFailure("pell-server listens on one socket, not on several.");
  int listens = 0;
  socklen_t size = sizeof listens;
  const bool isSocket =
      getsockopt(firstInherited, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0;
  const int family = boundAddress(firstInherited).ss_family;
  if (!isSocket || (family != AF_INET && family != AF_INET6)) {
    throw StartFailure("What pell-server was started with is no TCP socket that listens.");
  }
  fcntl(firstInherited, F_SETFD, FD_CLOEXEC);
  fcntl(firstInherited, F_SETFL, fcntl(firstInherited, F_GETFL) | O_NONBLOCK);
  return described(firstInherited);
}

std::string urlOf(const ListenSocket& socket) {
  const sockaddr_storage address = boundAddress(socket.descriptor);
  std::array<char, NI_MAXHOST> host{};
  getnameinfo(reinterpret_cast<const sockaddr*>(&address), sizeof address, host.data(), host.size(), nullptr,
              0, NI_NUMERICHOST);
  const std::string name = socket.ipv6 ? fmt::format("[{}]", host.data()) : host.data();
  return fmt::format("http://{}:{}", name, socket.port);
}

bool isLoopback(const ListenSocket& socket) {
  const sockaddr_storage address = boundAddress(socket.descriptor);
  if (socket.ipv6) return IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6&>(address).sin6_addr);
  return ntohl(reinterpret_cast<const sockaddr_in&>(address).sin_addr.s_addr) >> 24 == 127;
}

}  // namespace pell::localserver
