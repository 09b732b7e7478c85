#include "stores/Log.h"

#include <cmath>
#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace pell {
namespace {

bool fitsJson(const LogValue& value) {
  const auto* number = std::get_if<double>(&value.content);
  return !number || std::isfinite(*number);
}

std::string_view name(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return "DEBUG";
    case LogLevel::info:
      return "INFO";
    case LogLevel::warn:
      return "WARN";
    case LogLevel::error:
      return "ERROR";
  }
  return "INFO";
}

nlohmann::json::string_t render(LogLevel level, std::string_view event, const LogFields& fields) {
  nlohmann::json line = nlohmann::json::object();
  bool complete = true;
  for (const auto& [key, value] : fields) {
    complete = complete && fitsJson(value);
    std::visit([&](const auto& content) { line[std::string(key)] = content; }, value.content);
  }
  if (!complete) return fmt::format(R"({{"level":"{}","event":"{}"}})", name(level), event);
  line["level"] = name(level);
  line["event"] = event;
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

void Log::info(std::string_view event, const LogFields& fields) const {
  sink_.write(LogLevel::info, render(LogLevel::info, event, fields));
}

void Log::warn(std::string_view event, const LogFields& fields) const {
  sink_.write(LogLevel::warn, render(LogLevel::warn, event, fields));
}

void Log::error(std::string_view event, const LogFields& fields) const {
  sink_.write(LogLevel::error, render(LogLevel::error, event, fields));
}

}  // namespace pell
