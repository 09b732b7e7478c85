#pragma once

#include <string>

#include "app/CommandLine.h"

namespace pell {

/// Runs the application until it is told to end; brings a running one forward instead. `name` is that of
/// the program. Gives the exit code.
int runApplication(const std::string& name, const RunCommand& command);

}  // namespace pell
