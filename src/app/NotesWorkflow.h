// Which note is open, and how what is typed and dictated into it reaches the store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/AppState.h"
#include "async/Executor.h"
#include "editor/EditorController.h"
#include "editor/NoteFormatting.h"
#include "platform/Services.h"
#include "server/Records.h"

namespace pell {

class NotesRepository;
class OnboardingModel;

/// Keeps the list of notes and the open document. What changes is saved once the user pauses, and before
/// another document opens; an empty draft never becomes a note. A save that fails is told in the banner, and
/// its text stays in memory until the next attempt. Without a store nothing is kept, and nothing is said.
///
/// Main thread only; the store is asked synchronously. The rich bytes are the editor's business.
class NotesWorkflow {
 public:
  enum class SaveState : std::uint8_t { idle, saving, saved, failed };

  static constexpr Seconds autosaveDelay{0.7};

  struct Collaborators {
    AppState& state;
    const OnboardingModel& onboarding;
    EditorController& editor;
    NotesRepository* repository;  // null without a store
    Executor& main;
    const WallClock& clock;
    std::string localeOfDates;
  };

  /// Listens to the editor from now on, as the one that keeps what is written there.
  explicit NotesWorkflow(Collaborators collaborators);
  NotesWorkflow(const NotesWorkflow&) = delete;
  NotesWorkflow& operator=(const NotesWorkflow&) = delete;
  ~NotesWorkflow();

  // The list.

  /// As it was last read, and as what was done since has changed it: an edited note keeps its place.
  const Observable<std::vector<NoteSummary>>& notes() const { return notes_; }
  void reloadNotes();

  const Observable<std::string>& query() const { return query_; }
  void setQuery(std::string query) { query_ = std::move(query); }

  /// What matches the query in title or text, whatever the case, by the days of creation. Worked out at each
  /// call, as the labels turn over at midnight.
  std::vector<NoteFormatting::Group> groups() const;

  // The open document.

  /// Absent while it is a draft that was never saved.
  const Observable<std::optional<std::string>>& activeNoteID() const { return activeNoteID_; }
  bool isDraftActive() const { return !activeNoteID_.get(); }

  /// The editor's name for the document. It loads `draft` when, and only when, this changes.
  const Observable<std::string>& documentID() const { return documentID_; }

  /// What the document holds by now, as it was stored or as the editor told last. A view that is made while
  /// it is open shows this too.
  const EditorController::Snapshot& draft() const { return draft_; }

  /// After saving what the document before still held back.
  void newNote();
  /// Likewise. The note that is open already stays as it is.
  void select(const std::string& noteID);

  /// Puts a dictation into the document on screen and saves it at once. False if none is on screen: the words
  /// have to go another way.
  bool insertTranscript(const TranscriptionResult& result);

  // Saving.

  const Observable<SaveState>& saveState() const { return saveState_; }
  /// When the open note was last stored.
  const Observable<std::optional<Date>>& updatedAt() const { return updatedAt_; }
  /// The words under the editor; they follow from the two above.
  std::string saveLabel() const;

  /// Saves at once what waits to be saved. Synchronous, as the process may end afterwards.
  void flushPendingSave();

  // Deletion, which the user has to confirm.

  const Observable<std::optional<std::string>>& pendingDeleteID() const { return pendingDeleteID_; }
  void setPendingDelete(std::optional<std::string> noteID) { pendingDeleteID_ = std::move(noteID); }
  /// Deletes the note that the user was asked about, and opens an empty draft. Edits that wait are dropped.
  void confirmDelete();

 private:
  using Draft = EditorController::Snapshot;

  void handleEditorChange(Draft& draft);
  void persist();
  void store(const std::optional<std::string>& id, Draft draft, int session);
  void updateRow(const Note& note);
  void open(std::optional<Note> note, std::string documentID);

  Collaborators with_;
  Observable<std::vector<NoteSummary>> notes_;
  Observable<std::string> query_;
  Observable<std::optional<std::string>> activeNoteID_;
  Observable<std::string> documentID_{"draft-0"};
  Draft draft_;
  int sessionCounter_ = 0;  // a save touches the state of its own document only
  Observable<SaveState> saveState_{SaveState::idle};
  Observable<std::optional<Date>> updatedAt_;
  Observable<std::optional<std::string>> pendingDeleteID_;
  std::optional<DelayedWork> autosave_;  // while something waits to be saved
};

}  // namespace pell
