// Diagnostics: structured events, one line of JSON each.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Services.h"

namespace pell {

/// A field's value: text, a number or a boolean. Tokens, passwords and dictated words are never fields.
class LogValue {
 public:
  LogValue(std::string value) : content(std::move(value)) {}
  LogValue(std::string_view value) : content(std::string(value)) {}
  LogValue(const char* value) : content(std::string(value)) {}
  LogValue(double value) : content(value) {}
  template <std::integral T>
  LogValue(T value) {
    if constexpr (std::same_as<T, bool>) {
      content = value;
    } else {
      content = static_cast<std::int64_t>(value);
    }
  }

  std::variant<std::string, std::int64_t, double, bool> content;
};

using LogFields = std::vector<std::pair<std::string_view, LogValue>>;

/// Writes events to one sink. Any thread.
class Log {
 public:
  explicit Log(LogSink& sink) : sink_(sink) {}

  void info(std::string_view event, const LogFields& fields = {}) const;
  void warn(std::string_view event, const LogFields& fields = {}) const;
  void error(std::string_view event, const LogFields& fields = {}) const;

 private:
  LogSink& sink_;
};

}  // namespace pell
