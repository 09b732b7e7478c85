// Moments written as ISO 8601 texts.
#pragma once

#include <optional>
#include <string_view>

#include "async/Time.h"

namespace pell {

enum class IsoFraction { optional, required };

/// Date and time with seconds and zone ("2026-03-01T09:30:00Z", "2026-03-01T15:00:00.250+05:30"); absent
/// for anything else, and without a fraction of a second where one is required. Pure; any thread.
std::optional<Date> parseIsoDate(std::string_view text, IsoFraction fraction);

}  // namespace pell
