// Where this user's files live, by the desktop's base-directory rules.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "platform/BuildInfo.h"

namespace pell {

/// Nothing is made here; whoever writes makes what is missing. A variable that is unset, empty or not an
/// absolute path counts as not there, and its usual place below the home folder stands in.
class StandardLocations {
 public:
  /// Reads a variable of the environment.
  using Environment = std::function<std::optional<std::string>(const char* name)>;

  StandardLocations();
  explicit StandardLocations(const Environment& environment);

  /// For the logic. `scratch` is the session's own memory-backed folder when it is ours alone, else the
  /// folder for temporary files.
  const Locations& locations() const { return locations_; }

  const std::filesystem::path& configHome() const { return config_; }
  std::filesystem::path defaultsFile() const { return config_ / "Pell" / "defaults.json"; }
  std::filesystem::path secretsFile() const {
    return locations_.applicationSupport / "Pell" / "secrets.json";
  }

 private:
  Locations locations_;
  std::filesystem::path config_;
};

}  // namespace pell
