// What the server has of the account, as the command line prints it.
#pragma once

#include <string>

#include "server/Records.h"
#include "styles/DictationStyle.h"

namespace pell {

/// Plain text for a person and JSON for a program. The JSON has the server's own field names; an absent
/// value is null. Control characters that a server might send do not reach the terminal.
struct AccountPages {
  static std::string text(const Account& account);
  static std::string json(const Account& account);

  static std::string text(const UsageStats& usage);
  static std::string json(const UsageStats& usage);

  /// The styles by section, the server's default marked with a star.
  static std::string text(const CleanupStyleCatalogue& catalogue);
  static std::string json(const CleanupStyleCatalogue& catalogue);

  /// What was earned first, then what may still be.
  static std::string text(const AchievementShelf& shelf);
  static std::string json(const AchievementShelf& shelf);
};

}  // namespace pell
