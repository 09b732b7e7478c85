// pell-server as a program: how it is started and what it says.
#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HttpClient.h"
#include "localserver/Listen.h"
#include "support/TemporaryDirectory.h"

namespace pell::localserver {
namespace {

struct Ended {
  int status = -1;
  std::string output;
};

class ProgramTest : public ::testing::Test {
 protected:
  /// The child sees `socket` as the one that whoever started it listens on.
  pid_t start(const std::vector<std::string>& arguments, int output, int socket = -1) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "pell-server";
    const pid_t child = fork();
    if (child != 0) return child;
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (socket >= 0) {
      dup2(socket, 3);
      setenv("LISTEN_FDS", "1", 1);
      setenv("LISTEN_PID", std::to_string(getpid()).c_str(), 1);
    }
    std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);
    execv(program.c_str(), pointers.data());
    _exit(127);
  }

  Ended run(const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t child = start(arguments, ends[1]);
    close(ends[1]);
    Ended ended;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
      ended.output.append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ended;
  }

  const pell::testing::TemporaryDirectory directory_;
};

TEST_F(ProgramTest, SaysWhatItIsAndWhatIsWrong) {
  const std::string file = directory_.path() / "file";
  struct {
    std::vector<std::string> arguments;
    int status;
    const char* said;
  } const rows[] = {
      {{"--help"}, 0, "--public-url"},
      {{"--version"}, 0, "pell-server "},
      {{"--nonsense"}, 2, "--nonsense"},
      {{"serve"}, 2, "serve"},
      {{"keygen"}, 2, "keygen FILE"},
      {{"keygen", file}, 0, "Public key: "},
      {{"keygen", file}, 1, "there already"},
      {{"config", "sign", file, "--key", file, "--data", directory_.path()}, 1, "JSON"},
      {{"plan", "a@b", "team", "--data", directory_.path()}, 1, "server.db"},
      {{"--listen", "127.0.0.1:0", "--data", file}, 1, "file"},
  };
  for (const auto& [arguments, status, said] : rows) {
    const Ended ended = run(arguments);
    EXPECT_EQ(ended.status, status) << arguments.front() << ": " << ended.output;
    EXPECT_NE(ended.output.find(said), std::string::npos) << ended.output;
  }
}

TEST_F(ProgramTest, TakesTheSocketItWasStartedFor) {
  const ListenSocket socket = listenOn("127.0.0.1", 0);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  const pid_t child =
      start({"--data", directory_.path(), "--transcribe-command", "true"}, nowhere, socket.descriptor);
  close(nowhere);
  close(socket.descriptor);
  // The socket listened before the program ran, so the connection waits for it.
  EXPECT_EQ(send(socket.port, {.path = "/api/v1/me"}).errorCode(), "UNAUTHORIZED");
  kill(child, SIGTERM);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

}  // namespace
}  // namespace pell::localserver
