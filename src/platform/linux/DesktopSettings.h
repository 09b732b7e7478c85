// The pages of the desktop's own settings.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pell {

class Log;

/// Which program shows a page depends on the desktop; a session of single parts has some of them, or none.
/// Main thread.
class DesktopSettings {
 public:
  enum class Page { accessibility, microphone };

  struct Environment {
    std::string desktops;  // XDG_CURRENT_DESKTOP: names with colons between, the most particular first
    /// The path of a program, empty if it is not installed.
    std::function<std::string(const std::string& program)> find;
  };
  static Environment thisSession();

  DesktopSettings(Environment environment, const Log& log);

  /// The page that one of the system's addresses means; absent for any other address.
  static std::optional<Page> pageOf(std::string_view address);

  /// Starts the first program for the page that there is. False, with a line in the log, if there is none or
  /// it did not start.
  bool open(Page page) const;

 private:
  std::string commandFor(Page page) const;

  Environment environment_;
  const Log& log_;
};

}  // namespace pell
