#pragma once

#include <cstdio>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace pell::localserver {

/// One line of JSON per event: "level", "event" and the fields. Tokens, passwords, addresses of people and
/// spoken words are never fields. Any thread.
class ServerLog {
 public:
  /// Writes to `file`, which must outlive the log; with none it writes nowhere.
  explicit ServerLog(std::FILE* file);

  void info(const std::string& event, const nlohmann::json& fields);
  void warn(const std::string& event, const nlohmann::json& fields);
  void error(const std::string& event, const nlohmann::json& fields);

 private:
  void write(const char* level, const std::string& event, const nlohmann::json& fields);

  std::mutex mutex_;
  std::FILE* file_;
};

}  // namespace pell::localserver
