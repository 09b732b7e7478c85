#include "linux/SoundServer.h"

#include <chrono>
#include <fstream>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace pell::testing {
namespace {

constexpr const char* microphone =
    "load-module module-remap-source source_name=microphone master=speaker.monitor";

/// Answers a client's first request, its authentication, with "access denied" (error 1 of the protocol).
void refuse(int client) {
  unsigned char request[20 + 10];
  if (recv(client, request, sizeof request, MSG_WAITALL) != sizeof request) return;
  const unsigned char* tag = request + 20 + 6;  // behind the descriptor and the tagged command
  const unsigned char reply[] = {0, 0,   0,      15,     255,    255,    255, 255, 0,   0, 0, 0,
                                 0, 0,   0,      0,      0,      0,      0,   0,   'L', 0, 0, 0,
                                 0, 'L', tag[0], tag[1], tag[2], tag[3], 'L', 0,   0,   0, 1};
  send(client, reply, sizeof reply, MSG_NOSIGNAL);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

}  // namespace

SoundServer::SoundServer() {
  if (const char* before = getenv("PULSE_SERVER")) outside_ = before;
  setenv("PULSE_SERVER", ("unix:" + socketPath()).c_str(), 1);
  begin();
}

SoundServer::~SoundServer() {
  end();
  outside_.empty() ? unsetenv("PULSE_SERVER") : setenv("PULSE_SERVER", outside_.c_str(), 1);
}

void SoundServer::begin() {
  const auto script = folder_.path() / "server.pa";
  std::ofstream(script) << "load-module module-native-protocol-unix auth-anonymous=1 socket=" << socketPath()
                        << "\nload-module module-null-sink sink_name=speaker norewinds=1 rate=48000\n"
                        << microphone << "\nset-default-source microphone\n";
  std::filesystem::remove(socketPath());
  // Without the session bus, where the desktop's own server already has the name.
  server_ = std::make_unique<AppProcess>(std::vector<std::string>{
      "setpriv", "--pdeathsig", "KILL", "env", "DBUS_SESSION_BUS_ADDRESS=disabled:", "pulseaudio", "-n", "-F",
      script, "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1", "--disable-shm=yes",
      "--realtime=no", "--high-priority=no", "--log-target=null"});
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (outputOf({"pactl", "get-default-source"}) != "microphone\n" &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

void SoundServer::beginRefusing() {
  std::filesystem::remove(socketPath());
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socketPath().copy(address.sun_path, sizeof address.sun_path - 1);
  bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  listen(listener, 8);
  refusing_ = std::jthread([listener](std::stop_token stop) {
    while (!stop.stop_requested()) {
      pollfd waiting{listener, POLLIN, 0};
      if (poll(&waiting, 1, 50) <= 0) continue;
      const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      refuse(client);
      close(client);
    }
    close(listener);
  });
}

void SoundServer::end() {
  refusing_ = std::jthread();
  server_.reset();
}

void SoundServer::hang() { server_->signal(SIGSTOP); }
void SoundServer::resume() { server_->signal(SIGCONT); }

void SoundServer::unplugMicrophone() { outputOf({"pactl", "unload-module", "module-remap-source"}); }

void SoundServer::plugMicrophone() {
  outputOf({"sh", "-c", std::string("pactl ") + microphone});
  outputOf({"pactl", "set-default-source", "microphone"});
}

void SoundServer::playTone() {
  outputOf({"pactl", "load-module", "module-sine", "sink=speaker", "frequency=440"});
}

void SoundServer::playNothing() { outputOf({"pactl", "unload-module", "module-sine"}); }

int SoundServer::captureStreams() {
  const std::string listing = outputOf({"pactl", "list", "source-outputs"});
  const std::string ours = "application.process.id = \"" + std::to_string(getpid()) + "\"";
  int count = 0;
  for (auto at = listing.find(ours); at != std::string::npos; at = listing.find(ours, at + 1)) ++count;
  return count;
}

}  // namespace pell::testing
