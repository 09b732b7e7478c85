#include "main/Password.h"

#include <cstdio>
#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace pell {
namespace {

/// Switches the terminal's echo off for as long as it lives.
class Silence {
 public:
  Silence() {
    active_ = ::tcgetattr(STDIN_FILENO, &before_) == 0;
    if (!active_) return;
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    active_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet) == 0;
  }
  ~Silence() {
    if (active_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  termios before_{};
  bool active_ = false;
};

std::optional<std::string> readLine() {
  std::string line;
  if (!std::getline(std::cin, line) || line.empty()) return std::nullopt;
  if (line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace

std::optional<std::string> readPassword() {
  if (!::isatty(STDIN_FILENO)) return readLine();
  std::fputs("Password: ", stderr);
  Silence silence;
  auto password = readLine();
  std::fputs("\n", stderr);
  return password;
}

}  // namespace pell
