// What can be earned, and who earned it when.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "localserver/Storage.h"

namespace pell::localserver {

/// A milestone of the ladder that the application shows. The identifiers and thresholds are the
/// application's.
struct Milestone {
  enum class Kind { action, words, seconds };

  Kind kind = Kind::action;
  std::string id;
  /// Words, or seconds of speech; 0 for an action.
  std::int64_t threshold = 0;
  std::string title;
  std::string blurb;
  /// A name from the application's set of symbols.
  std::string icon;
};

/// All milestones, each kind in the order of its thresholds.
std::vector<Milestone> milestoneCatalogue();

/// Hands milestones out, each once for ever. Any thread; operations throw StorageFailure.
class Achievements {
 public:
  Achievements(Storage& storage, WallNow now);

  /// What the user's words and seconds so far have reached and was not told yet, in the order of the
  /// catalogue.
  std::vector<std::string> award(const std::string& userId);
  /// The user did something. Gives what was unlocked by it, empty where that was known; throws Refusal where
  /// nobody earns `id` by an action.
  std::vector<std::string> report(const std::string& userId, const std::string& id);

  /// Where a user stands.
  struct Shelf {
    std::map<std::string, UnixSeconds> unlocked;
    /// From no word to the next milestone of words, 0 to 1.
    double progress = 0;
  };
  Shelf shelf(const std::string& userId);

  std::span<const Milestone> catalogue() const { return catalogue_; }

 private:
  Storage& storage_;
  WallNow now_;
  const std::vector<Milestone> catalogue_ = milestoneCatalogue();
};

}  // namespace pell::localserver
