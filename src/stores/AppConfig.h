// What this build and this machine are, whoever is signed in.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/BuildInfo.h"
#include "platform/UserDefaults.h"

namespace pell {

/// Answers are worked out at each call and never cached. Any thread. Nothing here fails.
class AppConfig {
 public:
  AppConfig(BuildInfo build, Locations locations, const UserDefaults& defaults);

  /// The local server: plain HTTP on the loopback address.
  static constexpr std::string_view fallbackAPIBaseURL = "http://127.0.0.1:8787";

  /// The server to talk to.
  std::string apiBaseURL() const;
  bool allowsAPIOverride() const;

  /// Whether the address differs from a stamped one; a build with none stamped is never overridden.
  bool apiBaseURLIsOverridden() const;

  std::string version() const;

  /// Where a newer version is to be had; absent where this build offers none.
  std::optional<std::string> downloadURL() const;
  std::string bundleID() const;
  bool isDevelopmentBuild() const;
  std::string keychainService() const;

  /// What the remote configuration must be signed with: raw Ed25519, as base64. Empty if none is stamped.
  std::string remoteConfigPublicKey() const;

  /// The e-mail address for users who need help.
  std::optional<std::string> supportAddress() const;

  /// The product's own folder, made or tightened to mode 0700 at each call. The process ends when the
  /// platform names no place for it.
  std::filesystem::path supportDirectory() const;
  std::filesystem::path databaseURL() const;

  struct BaseURLSources {
    std::optional<std::string> override;
    std::optional<std::string> stamped;
    bool allowsOverride = false;
  };
  /// The override where it is allowed and parses, else the stamped address if that parses, else the
  /// local server.
  static std::string resolveAPIBaseURL(const BaseURLSources& sources);

  /// Development builds have a service of their own, so that they never touch a release's sign-in.
  static std::string resolveKeychainService(std::string bundleID, bool isDevelopmentBuild);

  /// Sets the permissions of a file or folder; failure is swallowed.
  static void restrict(const std::filesystem::path& item,
                       std::filesystem::perms permissions = std::filesystem::perms::owner_all);

  /// The write-ahead log and the shared-memory index beside a database file.
  static std::vector<std::filesystem::path> databaseSidecarURLs(const std::filesystem::path& database);

  /// Makes the file and those of its sidecars that exist readable by the user alone.
  static void restrictDatabaseFiles(const std::filesystem::path& database);

 private:
  BuildInfo build_;
  Locations locations_;
  const UserDefaults& defaults_;
};

}  // namespace pell
