// What was stamped into this build, and where this machine keeps things.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace pell {

/// The information keys of a build.
struct BuildInfo {
  std::optional<std::string> apiBaseUrl;
  bool allowsApiOverride = false;
  bool developmentBuild = false;
  std::optional<std::string> shortVersion;
  std::optional<std::string> downloadUrl;  // of the web site from which the application is downloaded
  std::optional<std::string> bundleIdentifier;
  std::optional<std::string> remoteConfigPublicKey;
  std::optional<std::string> supportAddress;
  bool operator==(const BuildInfo&) const = default;
};

struct Locations {
  std::filesystem::path applicationSupport;  // the user's; the product's own folder goes below it
  std::filesystem::path scratch;             // private, for audio in passing
};

}  // namespace pell
