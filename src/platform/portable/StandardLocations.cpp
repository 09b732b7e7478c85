#include "platform/portable/StandardLocations.h"

#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pell {
namespace {

namespace fs = std::filesystem;

std::optional<std::string> processEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<fs::path> absolute(const StandardLocations::Environment& environment, const char* name) {
  auto value = environment(name);
  if (!value || !fs::path(*value).is_absolute()) return std::nullopt;
  return fs::path(*value);
}

fs::path home(const StandardLocations::Environment& environment) {
  if (auto named = absolute(environment, "HOME")) return *named;
  const passwd* entry = getpwuid(geteuid());
  return entry && entry->pw_dir ? entry->pw_dir : "";
}

bool isOursAlone(const fs::path& folder) {
  struct stat facts {};
  return stat(folder.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && facts.st_uid == geteuid() &&
         (facts.st_mode & 0777) == 0700;
}

fs::path scratch(const StandardLocations::Environment& environment) {
  if (auto runtime = absolute(environment, "XDG_RUNTIME_DIR"); runtime && isOursAlone(*runtime))
    return *runtime;
  std::error_code ignored;
  if (auto temporary = absolute(environment, "TMPDIR"); temporary && fs::is_directory(*temporary, ignored)) {
    return *temporary;
  }
  return "/tmp";
}

}  // namespace

StandardLocations::StandardLocations() : StandardLocations(processEnvironment) {}

StandardLocations::StandardLocations(const Environment& environment) {
  const fs::path base = home(environment);
  // Without any home there is no place: left empty, for the logic to say so.
  const auto below = [&](const char* place) { return base.empty() ? fs::path() : base / place; };
  config_ = absolute(environment, "XDG_CONFIG_HOME").value_or(below(".config"));
  locations_.applicationSupport = absolute(environment, "XDG_DATA_HOME").value_or(below(".local/share"));
  locations_.scratch = scratch(environment);
}

}  // namespace pell
