// The road of a dictation into the open note.
#pragma once

#include "app/AppState.h"
#include "app/NoteEditing.h"
#include "server/Records.h"

namespace pell {

class OnboardingModel;

/// Main thread only.
class NotesWorkflow {
 public:
  static constexpr Seconds highlightSpan{0.7};

  NotesWorkflow(const AppState& state, const OnboardingModel& onboarding, NoteEditing& editing)
      : state_(state), onboarding_(onboarding), editing_(editing) {}

  /// Puts a dictation into the open note and saves it at once. False if none is on screen: the words have to
  /// go another way.
  bool insertTranscript(const TranscriptionResult& result);

  void flushPendingSave() { editing_.flushPendingSave(); }

 private:
  const AppState& state_;
  const OnboardingModel& onboarding_;
  NoteEditing& editing_;
};

}  // namespace pell
