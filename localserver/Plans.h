#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace pell::localserver {

/// A tier of allowance.
struct Plan {
  std::string id;
  std::string displayName;
  /// Dictation in a calendar month (UTC).
  std::int64_t minutesPerMonth = 0;

  friend bool operator==(const Plan&, const Plan&) = default;
};

/// The plans of a server. Never empty: the first is that of accounts which were given no other, and of those
/// whose plan is no longer there.
using Plans = std::vector<Plan>;

/// Tells the command that gives plans which ones there are. Throws std::system_error.
void publishPlans(const Plans& plans, const std::filesystem::path& file);
/// The identifiers of the published plans; none where no server has published any.
std::vector<std::string> publishedPlans(const std::filesystem::path& file);

const Plan& planOf(const Plans& plans, const std::optional<std::string>& id);

}  // namespace pell::localserver
