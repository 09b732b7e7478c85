#pragma once

#include <string>
#include <variant>

namespace pell {

enum class PasswordUse { known, chosen };

struct NoPassword {
  const char* reason;
};

/// Asked for on the terminal without echo, and once more where it is chosen anew, as nobody sees a slip of
/// the fingers; or the first line of standard input where that is no terminal.
std::variant<std::string, NoPassword> readPassword(PasswordUse use);

}  // namespace pell
