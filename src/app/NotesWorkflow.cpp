#include "app/NotesWorkflow.h"

#include "app/OnboardingModel.h"

namespace pell {

bool NotesWorkflow::insertTranscript(const TranscriptionResult& result) {
  const auto screen = state_.screen.get();
  const bool isOnboarding = screen == AppState::Screen::onboarding;
  if (screen != AppState::Screen::ready && !isOnboarding) return false;
  if (!editing_.hasView()) return false;
  const auto range = editing_.insert(result.paragraphs);
  editing_.flushPendingSave();
  // Newcomers are shown where their words went.
  if (range && isOnboarding && std::holds_alternative<step::DictateInPell>(onboarding_.step())) {
    editing_.flashHighlight(*range, highlightSpan);
  }
  return true;
}

}  // namespace pell
