#include "main/Password.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace pell {
namespace {

volatile std::sig_atomic_t caughtSignal = 0;

/// Switches the terminal's echo off for as long as it lives, and catches the signals that would end or stop
/// the program meanwhile: the terminal must not stay silent behind it.
class Silence {
 public:
  Silence() {
    active_ = ::tcgetattr(STDIN_FILENO, &before_) == 0;
    if (!active_) return;
    struct sigaction note {};
    note.sa_handler = [](int number) { caughtSignal = number; };
    for (std::size_t i = 0; i < caught.size(); ++i) ::sigaction(caught[i], &note, &actions_[i]);
    termios quiet = before_;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
  }
  ~Silence() {
    if (!active_) return;
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    for (std::size_t i = 0; i < caught.size(); ++i) ::sigaction(caught[i], &actions_[i], nullptr);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  static constexpr std::array caught{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

  termios before_{};
  std::array<struct sigaction, caught.size()> actions_{};
  bool active_ = false;
};

/// One line of the terminal. A signal ends it early, with what was typed until then.
std::string typedLine() {
  std::string line;
  for (char letter = 0; ::read(STDIN_FILENO, &letter, 1) == 1 && letter != '\n';) line += letter;
  return line;
}

std::string ask(const char* prompt) {
  while (true) {
    caughtSignal = 0;
    std::string line;
    std::fputs(prompt, stderr);
    {
      Silence silence;
      line = typedLine();
    }
    std::fputs("\n", stderr);
    if (caughtSignal == 0) return line;
    // Ends or stops the program as it would have; it asks anew when it is continued.
    ::raise(caughtSignal);
  }
}

}  // namespace

std::variant<std::string, NoPassword> readPassword(PasswordUse use) {
  const bool asking = ::isatty(STDIN_FILENO) != 0;
  std::string password;
  if (asking) {
    password = ask("Password: ");
  } else {
    std::getline(std::cin, password);
    if (password.ends_with('\r')) password.pop_back();
  }
  if (password.empty()) return NoPassword{"no password was given"};
  if (asking && use == PasswordUse::chosen && ask("The same again: ") != password) {
    return NoPassword{"the two passwords are not the same"};
  }
  return password;
}

}  // namespace pell
