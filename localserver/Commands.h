// What pell-server does besides serving.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "localserver/Arguments.h"

namespace pell::localserver {

/// Runs the command that `arguments` begin with and gives what it has to say. Nothing where they begin with
/// none: then the server itself is wanted. Throws Malformed where they do not fit the command, and another
/// exception with a sentence for the operator where it fails.
std::optional<std::string> runCommand(std::span<const std::string> arguments, const Environment& environment,
                                      std::int64_t now);

}  // namespace pell::localserver
