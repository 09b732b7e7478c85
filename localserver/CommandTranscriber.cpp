#include "localserver/CommandTranscriber.h"

#include <array>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

// The C library's header does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

extern char** environ;

namespace pell::localserver {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t outputLimit = 1u << 20;

/// A file descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    reset();
    value_ = std::exchange(other.value_, -1);
    return *this;
  }
  int get() const { return value_; }
  void reset() {
    if (value_ >= 0) close(value_);
    value_ = -1;
  }

 private:
  int value_;
};

struct Pipe {
  Descriptor read;
  Descriptor write;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw TranscriberFailure("No pipe could be made for the command.");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void makeNonBlocking(int descriptor) { fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK); }

/// The server's environment and the language of the speech.
std::vector<std::string> environmentFor(const std::string& language) {
  std::vector<std::string> variables;
  for (char** entry = environ; *entry; ++entry) variables.emplace_back(*entry);
  variables.push_back("PELL_LANGUAGE=" + language);
  return variables;
}

pid_t spawnShell(const std::string& command, const std::string& language, int input, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  posix_spawn_file_actions_init(&actions);
  posix_spawnattr_init(&attributes);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  sigset_t none;
  sigset_t defaults;
  sigemptyset(&none);
  sigfillset(&defaults);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes,
                           POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);

  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  std::array<char*, 4> arguments = {shell.data(), option.data(), text.data(), nullptr};
  auto variables = environmentFor(language);
  std::vector<char*> environment;
  environment.reserve(variables.size() + 1);
  for (std::string& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  pid_t child = -1;
  const int result =
      posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments.data(), environment.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (result != 0) throw TranscriberFailure("The command could not be started.");
  return child;
}

/// A child and its process group. Killed and reaped at the latest when this goes.
class Child {
 public:
  explicit Child(pid_t id) : id_(id), handle_(pidfd_open(id, 0)) {}
  ~Child() { end(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Readable once the child has ended.
  int handle() const { return handle_.get(); }

  /// Kills what is left of the group and gives the child's exit status; negative where a signal ended it.
  int end() {
    if (id_ < 0) return status_;
    siginfo_t information{};
    // Looked at before it is reaped, so that its id still names its group and nobody else's.
    const bool ended =
        waitid(P_PID, static_cast<id_t>(id_), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        information.si_pid == id_;
    kill(-id_, SIGKILL);
    int status = 0;
    while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    status_ = ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return status_;
  }

 private:
  pid_t id_;
  Descriptor handle_;
  int status_ = -1;
};

/// Feeds the child and listens to it until it ends.
class Conversation {
 public:
  Conversation(std::string_view input, Descriptor to, Descriptor from)
      : input_(input), to_(std::move(to)), from_(std::move(from)) {
    makeNonBlocking(to_.get());
    makeNonBlocking(from_.get());
  }

  std::string run(const Child& child, Clock::time_point deadline, const std::stop_token& stop) {
    while (true) {
      if (stop.stop_requested()) throw TranscriberFailure("The command was stopped.");
      if (Clock::now() >= deadline) throw TranscriberFailure("The command took too long.");
      std::array<pollfd, 3> waited = {pollfd{child.handle(), POLLIN, 0}, pollfd{from_.get(), POLLIN, 0},
                                      pollfd{to_.get(), POLLOUT, 0}};
      // Short enough for a stop to be noticed.
      poll(waited.data(), waited.size(), 100);
      if (waited[2].revents) write();
      if (waited[1].revents) read();
      if (waited[0].revents) {
        read();
        return std::move(output_);
      }
    }
  }

 private:
  void write() {
    const ssize_t count = ::write(to_.get(), input_.data(), input_.size());
    if (count > 0) input_.remove_prefix(static_cast<std::size_t>(count));
    // A command that does not want its input is free to leave it.
    if (input_.empty() || (count < 0 && errno != EAGAIN && errno != EINTR)) to_.reset();
  }

  void read() {
    std::array<char, 16384> buffer{};
    while (from_.get() >= 0) {
      const ssize_t count = ::read(from_.get(), buffer.data(), buffer.size());
      if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
      if (count <= 0) return from_.reset();
      output_.append(buffer.data(), static_cast<std::size_t>(count));
      if (output_.size() > outputLimit) throw TranscriberFailure("The command wrote too much.");
    }
  }

  std::string_view input_;
  Descriptor to_;
  Descriptor from_;
  std::string output_;
};

}  // namespace

CommandTranscriber::CommandTranscriber(std::string command, std::chrono::milliseconds limit)
    : command_(std::move(command)), limit_(limit) {
  // A command that leaves its input unread must not take the process with it.
  signal(SIGPIPE, SIG_IGN);
}

SpokenText CommandTranscriber::transcribe(const Speech& speech) {
  const auto deadline = Clock::now() + limit_;
  const std::string file = wavFile(speech.samples);
  Pipe input = makePipe();
  Pipe output = makePipe();
  Child child(spawnShell(command_, speech.language, input.read.get(), output.write.get()));
  input.read.reset();
  output.write.reset();
  Conversation conversation(file, std::move(input.write), std::move(output.read));
  std::string text = conversation.run(child, deadline, speech.stop);
  if (const int status = child.end(); status != 0) {
    throw TranscriberFailure("The command ended with status " + std::to_string(status) + ".");
  }
  return {.text = std::move(text), .confidence = std::nullopt, .language = std::nullopt};
}

}  // namespace pell::localserver
