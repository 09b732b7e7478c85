#pragma once

#include <optional>
#include <string>

namespace pell {

/// The password of a sign-in: asked for on the terminal without echo, or the first line of standard input
/// where that is no terminal. Absent when none was given.
std::optional<std::string> readPassword();

}  // namespace pell
