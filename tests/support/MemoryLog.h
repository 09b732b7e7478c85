#pragma once

#include <algorithm>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Services.h"

namespace pell::testing {

/// Keeps every line, as it was and parsed.
class MemoryLog final : public LogSink {
 public:
  void write(LogLevel, std::string_view line) override {
    std::lock_guard lock(mutex_);
    text_.append(line).push_back('\n');
    lines_.push_back(nlohmann::json::parse(line));
  }

  std::vector<nlohmann::json> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }

  /// The lines of one event, in order.
  std::vector<nlohmann::json> lines(std::string_view event) const {
    auto all = lines();
    std::erase_if(all, [&](const auto& line) { return line.value("event", "") != event; });
    return all;
  }
  std::size_t count(std::string_view event) const { return lines(event).size(); }

  /// "LEVEL event" of every line, in order.
  std::vector<std::string> events() const {
    std::vector<std::string> names;
    for (const auto& line : lines()) {
      names.push_back(line.value("level", "") + " " + line.value("event", ""));
    }
    return names;
  }

  /// Everything written, to look for what must not be there.
  std::string text() const {
    std::lock_guard lock(mutex_);
    return text_;
  }

  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
    text_.clear();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<nlohmann::json> lines_;
  std::string text_;
};

}  // namespace pell::testing
