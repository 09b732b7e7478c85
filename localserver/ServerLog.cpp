#include "localserver/ServerLog.h"

#include <nlohmann/json.hpp>

namespace pell::localserver {

ServerLog::ServerLog(std::FILE* file) : file_(file) {}

void ServerLog::info(const std::string& event, const nlohmann::json& fields) { write("INFO", event, fields); }
void ServerLog::warn(const std::string& event, const nlohmann::json& fields) { write("WARN", event, fields); }
void ServerLog::error(const std::string& event, const nlohmann::json& fields) {
  write("ERROR", event, fields);
}

void ServerLog::write(const char* level, const std::string& event, const nlohmann::json& fields) {
  if (!file_) return;
  nlohmann::json line = fields;
  line["level"] = level;
  line["event"] = event;
  const std::string text = line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  const std::lock_guard lock(mutex_);
  std::fwrite(text.data(), 1, text.size(), file_);
  std::fflush(file_);
}

}  // namespace pell::localserver
