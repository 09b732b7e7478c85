#include "linux/AppProcess.h"

#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace pell::testing {

AppProcess::AppProcess(std::vector<std::string> arguments) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int error = posix_spawnp(&pid_, argv.front(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  input_ = input[1];
  output_ = output[0];
  if (error != 0) throw std::runtime_error("cannot start " + arguments.front());
}

AppProcess::~AppProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(input_);
  close(output_);
}

void AppProcess::send(const std::string& line) {
  const std::string text = line + "\n";
  if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    throw std::runtime_error("the program does not read");
}

std::optional<std::string> AppProcess::receive(Seconds limit) {
  const auto end = std::chrono::steady_clock::now() + toNanoseconds(limit);
  for (;;) {
    if (auto at = pending_.find('\n'); at != std::string::npos) {
      std::string line = pending_.substr(0, at);
      pending_.erase(0, at + 1);
      return line;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
    pollfd waiting{output_, POLLIN, 0};
    if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0) return std::nullopt;
    char buffer[65536];
    const ssize_t count = read(output_, buffer, sizeof buffer);
    if (count <= 0) return std::nullopt;
    pending_.append(buffer, static_cast<std::size_t>(count));
  }
}

std::string AppProcess::ask(const std::string& line) {
  send(line);
  return receive().value_or("");
}

void AppProcess::signal(int number) const { kill(pid_, number); }

int AppProcess::wait() {
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(std::vector<std::string> arguments) {
  AppProcess program(std::move(arguments));
  std::string all;
  while (auto line = program.receive(Seconds(20))) all += *line + "\n";
  program.wait();
  return all;
}

}  // namespace pell::testing
