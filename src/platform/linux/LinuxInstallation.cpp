#include "platform/linux/LinuxInstallation.h"

#include <string>
#include <system_error>

#include "platform/linux/AutostartLoginItem.h"

namespace pell {

namespace fs = std::filesystem;

Placement linuxPlacement(const fs::path& executable, bool isInFlatpak) {
  const std::string path = executable.lexically_normal().string();
  const bool isPackaged = path.starts_with("/usr/") || path.starts_with("/opt/");
  return isPackaged || isInFlatpak ? Placement::applications : Placement::elsewhere;
}

Installation linuxInstallation() {
  const fs::path executable = AutostartLoginItem::thisProgram();
  std::error_code ignored;
  const bool isInFlatpak = fs::exists("/.flatpak-info", ignored);
  return {.bundle = executable, .placement = linuxPlacement(executable, isInFlatpak)};
}

}  // namespace pell
