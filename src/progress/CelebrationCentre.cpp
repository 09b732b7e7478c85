#include "progress/CelebrationCentre.h"

#include <utility>

namespace pell {

CelebrationCentre::CelebrationCentre(Executor& main, std::function<bool()> soundsEnabled)
    : main_(main), soundsEnabled_(std::move(soundsEnabled)) {}

void CelebrationCentre::celebrate(const std::vector<std::string>& ids) {
  for (const std::string& id : ids) {
    if (auto milestone = Badges::milestone(id)) pending_.push_back(*std::move(milestone));
  }
  startIfIdle();
}

void CelebrationCentre::celebrate(Milestone milestone) {
  pending_.push_back(std::move(milestone));
  startIfIdle();
}

void CelebrationCentre::startIfIdle() {
  if (running_ || pending_.empty()) return;
  running_ = true;
  step_ = main_.postAfter(Seconds(0), [this] { showNext(); });
}

// In both steps the next one is arranged first: a screen that hears of the change may dismiss the card.

void CelebrationCentre::showNext() {
  Milestone next = std::move(pending_.front());
  pending_.pop_front();
  step_ = main_.postAfter(onScreenSeconds, [this] { cardOver(); });
  const std::string_view cue = next.kind == Milestone::Kind::words ? "Glass" : "Tink";
  showing = std::move(next);
  if (soundsEnabled_() && onSound) onSound(cue);
}

void CelebrationCentre::cardOver() {
  if (pending_.empty()) {
    running_ = false;
  } else {
    step_ = main_.postAfter(gapSeconds, [this] { showNext(); });
  }
  showing = std::nullopt;
}

void CelebrationCentre::dismiss() {
  step_.cancel();
  running_ = false;
  showing = std::nullopt;
  startIfIdle();
}

std::string_view eyebrow(Badges::Milestone::Kind kind) {
  return kind == Badges::Milestone::Kind::words ? "Badge earned" : "Milestone";
}

}  // namespace pell
