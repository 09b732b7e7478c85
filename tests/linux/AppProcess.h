// Another program of the test desktop, spoken to over its standard input and output.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "async/Time.h"

namespace pell::testing {

/// Started with the object and killed with it. Commands are lines; a program answers each with one line.
class AppProcess {
 public:
  explicit AppProcess(std::vector<std::string> arguments);
  ~AppProcess();
  AppProcess(const AppProcess&) = delete;
  AppProcess& operator=(const AppProcess&) = delete;

  pid_t pid() const { return pid_; }
  void send(const std::string& line);
  /// The next line, without its line break; nothing if none comes in time.
  std::optional<std::string> receive(Seconds limit = Seconds(10));
  /// Sends and waits for the answer; an empty text if none comes.
  std::string ask(const std::string& line);
  void signal(int number) const;
  /// Waits for the end; the exit code, or -1 after a signal.
  int wait();

 private:
  pid_t pid_ = 0;
  int input_ = -1;
  int output_ = -1;
  std::string pending_;
};

/// Runs a program to its end and gives what it printed.
std::string outputOf(std::vector<std::string> arguments);

}  // namespace pell::testing
