// What lies where in the data directory.
#pragma once

#include <filesystem>

namespace pell::localserver {

inline std::filesystem::path databaseFile(const std::filesystem::path& data) { return data / "server.db"; }
/// The operators' signed document, as it is served.
inline std::filesystem::path signedConfigFile(const std::filesystem::path& data) {
  return data / "app-config.json";
}
/// The plans of the server that ran here last, for the command that gives them.
inline std::filesystem::path plansFile(const std::filesystem::path& data) { return data / "plans.json"; }
inline std::filesystem::path outboxFolder(const std::filesystem::path& data) { return data / "outbox"; }

}  // namespace pell::localserver
