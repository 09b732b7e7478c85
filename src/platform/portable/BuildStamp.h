#pragma once

#include "platform/BuildInfo.h"

namespace pell {

/// The facts that CMake stamped into this build.
BuildInfo stampedBuildInfo();

}  // namespace pell
