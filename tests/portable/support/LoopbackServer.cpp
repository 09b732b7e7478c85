#include "portable/support/LoopbackServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <optional>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace pell::testing {
namespace {

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

/// The first whole request of `input`, which loses it.
std::optional<ServedRequest> takeRequest(std::string& input) {
  const auto end = input.find("\r\n\r\n");
  if (end == std::string::npos) return std::nullopt;
  ServedRequest request;
  const auto first = input.find("\r\n");
  const auto line = input.substr(0, first);
  const auto blank = line.find(' ');
  request.method = line.substr(0, blank);
  request.path = line.substr(blank + 1, line.rfind(' ') - blank - 1);
  for (auto at = first + 2; at < end + 2;) {
    const auto next = input.find("\r\n", at);
    const auto colon = input.find(':', at);
    auto value = input.substr(colon + 1, next - colon - 1);
    value.erase(0, value.find_first_not_of(' '));
    request.headers[lowered(input.substr(at, colon - at))] = value;
    at = next + 2;
  }
  auto length = request.headers.find("content-length");
  const std::size_t size = length == request.headers.end() ? 0 : std::stoul(length->second);
  if (input.size() < end + 4 + size) return std::nullopt;
  request.body = input.substr(end + 4, size);
  input.erase(0, end + 4 + size);
  return request;
}

LoopbackServer::Script scriptOf(const ServedReply& reply) {
  using Ending = LoopbackServer::Script::Ending;
  std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " Scripted\r\n";
  for (const auto& [name, value] : reply.headers) head += name + ": " + value + "\r\n";
  if (reply.status != 204) head += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
  head += "\r\n";
  switch (reply.manner) {
    case ServedReply::Manner::whole:
      return {{{head + reply.body, reply.delay}}, Ending::keep};
    case ServedReply::Manner::breakOff:
      return {{{head + reply.body.substr(0, reply.body.size() / 2), reply.delay}}, Ending::close};
    case ServedReply::Manner::notHttp:
      return {{{reply.body, reply.delay}}, Ending::close};
    case ServedReply::Manner::silence:
      break;
  }
  return {{}, Ending::stall};
}

}  // namespace

LoopbackServer::LoopbackServer() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, generic, size) != 0 || listen(listener_, 16) != 0 ||
      getsockname(listener_, generic, &size) != 0) {
    throw std::runtime_error("no loopback server");
  }
  port_ = ntohs(address.sin_port);
  accepting_ = std::thread([this] { acceptAll(); });
}

LoopbackServer::~LoopbackServer() { stop(); }

void LoopbackServer::stop() {
  {
    std::lock_guard lock(mutex_);
    if (std::exchange(stopping_, true)) return;
    ended_.notify_all();
    shutdown(listener_, SHUT_RDWR);
    for (int socket : sockets_) shutdown(socket, SHUT_RDWR);
  }
  accepting_.join();
  for (auto& talk : talks_) talk.join();
  for (int socket : sockets_) close(socket);
  close(listener_);
}

void LoopbackServer::serve(Script script) {
  std::lock_guard lock(mutex_);
  scripts_.push_back(std::move(script));
}

void LoopbackServer::serve(const ServedReply& reply) { serve(scriptOf(reply)); }

std::vector<ServedRequest> LoopbackServer::received() const {
  std::lock_guard lock(mutex_);
  return received_;
}

std::size_t LoopbackServer::connections() const {
  std::lock_guard lock(mutex_);
  return sockets_.size();
}

void LoopbackServer::acceptAll() {
  for (;;) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    std::lock_guard lock(mutex_);
    if (socket < 0 || stopping_) {
      if (socket >= 0) close(socket);
      return;
    }
    sockets_.push_back(socket);
    talks_.emplace_back([this, socket] { talk(socket); });
  }
}

void LoopbackServer::talk(int socket) {
  std::string input;
  char buffer[65536];
  for (;;) {
    if (auto request = takeRequest(input)) {
      Script script;
      {
        std::lock_guard lock(mutex_);
        received_.push_back(std::move(*request));
        script = scriptOf({});
        if (!scripts_.empty()) {
          script = std::move(scripts_.front());
          scripts_.pop_front();
        }
      }
      if (!play(socket, script)) break;
      continue;
    }
    const auto count = recv(socket, buffer, sizeof buffer, 0);
    if (count <= 0) break;
    input.append(buffer, static_cast<std::size_t>(count));
  }
  shutdown(socket, SHUT_RDWR);
}

/// False when the connection ends with this reply.
bool LoopbackServer::play(int socket, const Script& script) {
  for (const auto& piece : script.pieces) {
    if (!pause(piece.wait)) return false;
    std::string_view rest = piece.bytes;
    while (!rest.empty()) {
      const auto count = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL);
      if (count <= 0) return false;
      rest.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  if (script.ending == Script::Ending::stall) pause(Seconds(60));
  return script.ending == Script::Ending::keep;
}

/// False when the server stops meanwhile.
bool LoopbackServer::pause(Seconds span) {
  std::unique_lock lock(mutex_);
  return !ended_.wait_for(lock, span, [this] { return stopping_; });
}

}  // namespace pell::testing
