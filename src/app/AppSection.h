#pragma once

#include <optional>
#include <string_view>

namespace pell {

/// The pages of the main window, in the order of its rail.
enum class AppSection { dictation, notes, insights, badges, notetaker, settings };

std::string_view rawValue(AppSection section);
std::optional<AppSection> appSectionFromRawValue(std::string_view raw);

}  // namespace pell
