#include "app/AppSection.h"

#include <array>

namespace pell {
namespace {

constexpr std::array<std::string_view, 6> rawValues{"dictation", "notes",     "insights",
                                                    "badges",    "notetaker", "settings"};

}  // namespace

std::string_view rawValue(AppSection section) { return rawValues.at(static_cast<std::size_t>(section)); }

std::optional<AppSection> appSectionFromRawValue(std::string_view raw) {
  for (std::size_t index = 0; index < rawValues.size(); ++index) {
    if (rawValues.at(index) == raw) return static_cast<AppSection>(index);
  }
  return std::nullopt;
}

}  // namespace pell
