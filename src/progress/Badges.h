// The fixed ladder of what a user can earn.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Words.h"

namespace pell {

/// What a milestone's identifier means, and how a lifetime word count maps onto the ladder. Which ones a
/// user has earned is the server's to say. Pure; any thread; nothing here fails.
struct Badges {
  /// Identified by `id`.
  struct Milestone {
    enum class Kind { action, words, seconds };

    Kind kind = Kind::action;
    std::string id;              // shared with the server
    std::int64_t threshold = 0;  // in what the kind counts; 0 for an action
    std::string title;
    std::string blurb;  // one sentence of praise; show it through `blurb` below
    std::string icon;   // a symbol's name
    int rank = 0;       // the place on the ladder of words, from 1; 0 off it
    bool operator==(const Milestone&) const = default;
  };

  static const std::vector<Milestone>& actions();
  static const std::vector<Milestone>& badges();  // the ladder of words, lowest first
  static const std::vector<Milestone>& timeMilestones();
  static const std::vector<Milestone>& all();

  static std::optional<Milestone> milestone(std::string_view id);

  /// The highest rung that this many words reach.
  static std::optional<Milestone> badge(std::int64_t forWords);

  /// The lowest rung above this many words.
  static std::optional<Milestone> nextBadge(std::int64_t afterWords);

  /// How far it is to the next rung, 0 to 1, measured from nothing: whoever has just earned a rung does
  /// not see the bar fall back.
  static double progress(std::int64_t words);

  /// "10 minutes", "1 hour".
  static std::string durationLabel(std::int64_t seconds);

  /// Changes exactly when an identifier, a threshold or a title of the ladder of words does.
  static std::string fingerprint();
};

/// The raw value of a kind.
std::string_view rawValue(Badges::Milestone::Kind kind);

/// The sentence of praise in the platform's wording.
std::string blurb(const Badges::Milestone& milestone, const Words& words);

}  // namespace pell
