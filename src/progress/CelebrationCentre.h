// Shows what was unlocked, one milestone at a time.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/Executor.h"
#include "async/Observable.h"
#include "progress/Badges.h"

namespace pell {

/// The queue behind the celebration cards. Every screen shows what `showing` holds. A milestone given twice
/// is shown twice; an identifier that this catalogue does not know is passed over, as a server may know a
/// newer one.
///
/// Main thread only. It may be destroyed at any time.
class CelebrationCentre {
 public:
  using Milestone = Badges::Milestone;

  static constexpr Seconds onScreenSeconds{3.2};
  static constexpr Seconds gapSeconds{0.35};  // between two cards

  /// `soundsEnabled` is asked once for each card.
  CelebrationCentre(Executor& main, std::function<bool()> soundsEnabled);
  CelebrationCentre(const CelebrationCentre&) = delete;
  CelebrationCentre& operator=(const CelebrationCentre&) = delete;

  /// Plays a named cue; may stay unset.
  std::function<void(std::string_view name)> onSound;

  Observable<std::optional<Milestone>> showing;

  /// Both queue and return at once; a card comes up later, never inline.
  void celebrate(const std::vector<std::string>& ids);
  void celebrate(Milestone milestone);

  /// Ends the card on show; one that waits comes up without the gap.
  void dismiss();

 private:
  void startIfIdle();
  void showNext();
  void cardOver();

  Executor& main_;
  std::function<bool()> soundsEnabled_;
  std::deque<Milestone> pending_;
  bool running_ = false;
  DelayedWork step_;  // what the queue does next, while it is running
};

/// The small heading above a card's title.
std::string_view eyebrow(Badges::Milestone::Kind kind);

}  // namespace pell
