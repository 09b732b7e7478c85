// Where the program is installed on a Linux system.
#pragma once

#include <filesystem>

#include "platform/Installation.h"

namespace pell {

/// What packages install counts as installed: /usr, /opt, and whatever runs inside Flatpak. Nothing here
/// runs from a temporary copy, so nothing is ever moved.
Placement linuxPlacement(const std::filesystem::path& executable, bool isInFlatpak);

/// Of this process.
Installation linuxInstallation();

}  // namespace pell
