#include "main/ControlClient.h"

#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace pell {
namespace {

class Connection {
 public:
  explicit Connection(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string& name = path.native();
    if (name.empty() || name.size() >= sizeof(address.sun_path)) return;
    std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
    descriptor_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor_ < 0) return;
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) close();
  }
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }

  bool write(std::string_view bytes) {
    while (!bytes.empty()) {
      ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent < 0 && errno == EINTR) continue;
      if (sent <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  std::optional<std::string> readLine(Instant deadline) {
    std::string line;
    while (line.size() < controlLineLimit) {
      auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
      if (left.count() <= 0) return std::nullopt;
      pollfd waiting{descriptor_, POLLIN, 0};
      if (::poll(&waiting, 1, static_cast<int>(left.count())) <= 0) {
        if (errno == EINTR) continue;
        return std::nullopt;
      }
      char buffer[4096];
      ssize_t count = ::recv(descriptor_, buffer, sizeof(buffer), 0);
      if (count <= 0) return std::nullopt;
      line.append(buffer, static_cast<std::size_t>(count));
      if (auto end = line.find('\n'); end != std::string::npos) return line.substr(0, end);
    }
    return std::nullopt;
  }

 private:
  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }

  int descriptor_ = -1;
};

}  // namespace

std::optional<ControlReply> askRunningInstance(const std::filesystem::path& socket,
                                               const ControlRequest& request, Seconds limit) {
  Connection connection(socket);
  if (!connection.isOpen() || !connection.write(encode(request) + "\n")) return std::nullopt;
  auto line = connection.readLine(std::chrono::steady_clock::now() + toNanoseconds(limit));
  return line ? decodeReply(*line) : std::nullopt;
}

bool isInstanceRunning(const std::filesystem::path& socket) { return Connection(socket).isOpen(); }

}  // namespace pell
