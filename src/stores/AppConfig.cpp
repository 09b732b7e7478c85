#include "stores/AppConfig.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fmt/core.h>
#include <system_error>
#include <utility>

#include "stores/Url.h"

namespace pell {

namespace fs = std::filesystem;

AppConfig::AppConfig(BuildInfo build, Locations locations, const UserDefaults& defaults)
    : build_(std::move(build)), locations_(std::move(locations)), defaults_(defaults) {}

std::string AppConfig::apiBaseURL() const {
  return resolveAPIBaseURL({.override = defaults_.value<std::string>("apiBaseURL"),
                            .stamped = build_.apiBaseUrl,
                            .allowsOverride = allowsAPIOverride()});
}

bool AppConfig::allowsAPIOverride() const { return build_.allowsApiOverride; }

bool AppConfig::apiBaseURLIsOverridden() const {
  return build_.apiBaseUrl && apiBaseURL() != *build_.apiBaseUrl;
}

std::string AppConfig::version() const { return build_.shortVersion.value_or("0.0.0"); }

std::optional<std::string> AppConfig::downloadURL() const { return build_.downloadUrl; }

std::string AppConfig::bundleID() const { return build_.bundleIdentifier.value_or("com.pell.dictation"); }

bool AppConfig::isDevelopmentBuild() const { return build_.developmentBuild; }

std::string AppConfig::keychainService() const {
  return resolveKeychainService(bundleID(), isDevelopmentBuild());
}

std::string AppConfig::remoteConfigPublicKey() const { return build_.remoteConfigPublicKey.value_or(""); }

std::optional<std::string> AppConfig::supportAddress() const { return build_.supportAddress; }

fs::path AppConfig::supportDirectory() const {
  if (locations_.applicationSupport.empty()) {
    fmt::print(stderr, "pell: there is no folder for application data\n");
    std::abort();
  }
  const fs::path directory = locations_.applicationSupport / "Pell";
  std::error_code ignored;
  fs::create_directories(directory, ignored);
  if (fs::is_directory(directory, ignored)) restrict(directory);
  return directory;
}

fs::path AppConfig::databaseURL() const { return supportDirectory() / "pell.db"; }

std::string AppConfig::resolveAPIBaseURL(const BaseURLSources& sources) {
  if (sources.allowsOverride && sources.override && Url::parse(*sources.override)) return *sources.override;
  if (sources.stamped && Url::parse(*sources.stamped)) return *sources.stamped;
  return std::string(fallbackAPIBaseURL);
}

std::string AppConfig::resolveKeychainService(std::string bundleID, bool isDevelopmentBuild) {
  if (isDevelopmentBuild) bundleID += ".dev";
  return bundleID;
}

void AppConfig::restrict(const fs::path& item, fs::perms permissions) {
  std::error_code ignored;
  const fs::file_type type = fs::status(item, ignored).type();
  // A device may stand there, which is everybody's.
  if (type != fs::file_type::directory && type != fs::file_type::regular) return;
  fs::permissions(item, permissions, ignored);
}

std::vector<fs::path> AppConfig::databaseSidecarURLs(const fs::path& database) {
  return {fs::path(database) += "-wal", fs::path(database) += "-shm"};
}

void AppConfig::restrictDatabaseFiles(const fs::path& database) {
  constexpr auto privateFile = fs::perms::owner_read | fs::perms::owner_write;
  restrict(database, privateFile);
  for (const fs::path& sidecar : databaseSidecarURLs(database)) restrict(sidecar, privateFile);
}

}  // namespace pell
