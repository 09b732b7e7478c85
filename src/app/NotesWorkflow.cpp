#include "app/NotesWorkflow.h"

#include <algorithm>
#include <utility>

#include "app/OnboardingModel.h"
#include "stores/NotesRepository.h"
#include "stores/Text.h"

namespace pell {
namespace {

NoteSummary summaryOf(const Note& note) {
  return {.id = note.id,
          .title = note.title,
          .preview = NoteFormatting::preview(note.text),
          .text = note.text,
          .createdAt = note.createdAt,
          .updatedAt = note.updatedAt};
}

bool isBlank(std::string_view text) { return trimmed(text).empty(); }

}  // namespace

NotesWorkflow::NotesWorkflow(Collaborators collaborators) : with_(std::move(collaborators)) {
  with_.editor.onChange = [this](Draft& draft) { handleEditorChange(draft); };
}

NotesWorkflow::~NotesWorkflow() { with_.editor.onChange = nullptr; }

void NotesWorkflow::reloadNotes() {
  if (!with_.repository) return;
  try {
    notes_ = with_.repository->list();
  } catch (const Database::Failure& failure) {
    with_.state.banner = "Could not load your notes: " + failure.message();
  }
}

std::vector<NoteFormatting::Group> NotesWorkflow::groups() const {
  const std::string wanted = lowercased(trimmedLine(query_.get()));
  const auto contains = [&](const std::string& text) { return lowercased(text).find(wanted) != text.npos; };
  std::vector<NoteSummary> rows;
  std::ranges::copy_if(notes_.get(), std::back_inserter(rows), [&](const NoteSummary& row) {
    return wanted.empty() || contains(row.title) || contains(row.text);
  });
  return NoteFormatting::groupByCreationDate(
      std::move(rows), with_.clock.now(), {.calendar = Calendar::current(), .locale = with_.localeOfDates});
}

void NotesWorkflow::newNote() {
  flushPendingSave();
  ++sessionCounter_;
  open(std::nullopt, "draft-" + std::to_string(sessionCounter_));
}

void NotesWorkflow::select(const std::string& noteID) {
  if (activeNoteID_.get() == noteID || !with_.repository) return;
  flushPendingSave();
  ++sessionCounter_;
  try {
    auto note = with_.repository->note(noteID);
    if (note) open(std::move(note), "note-" + noteID);
  } catch (const Database::Failure& failure) {
    with_.state.banner = "Could not open that note: " + failure.message();
  }
}

/// Without a note, an empty draft. The name comes last: it makes the editor load the rest.
void NotesWorkflow::open(std::optional<Note> note, std::string documentID) {
  draft_ = note ? Draft{.rtf = std::move(note->rtf), .text = std::move(note->text)} : Draft();
  activeNoteID_ = note ? std::optional(note->id) : std::nullopt;
  updatedAt_ = note ? std::optional(note->updatedAt) : std::nullopt;
  saveState_ = SaveState::idle;
  documentID_ = std::move(documentID);
}

bool NotesWorkflow::insertTranscript(const TranscriptionResult& result) {
  const auto screen = with_.state.screen.get();
  const bool isOnboarding = screen == AppState::Screen::onboarding;
  if (screen != AppState::Screen::ready && !isOnboarding) return false;
  if (!with_.editor.textView) return false;
  const auto range = with_.editor.insert(result.paragraphs);
  flushPendingSave();
  // Newcomers are shown where their words went.
  if (range && isOnboarding && std::holds_alternative<step::DictateInPell>(with_.onboarding.step())) {
    with_.editor.flashHighlight(*range, EditorController::flashDecay);
  }
  return true;
}

std::string NotesWorkflow::saveLabel() const {
  switch (saveState_.get()) {
    case SaveState::saving:
      return "Saving…";
    case SaveState::failed:
      return "Not saved";
    case SaveState::idle:
    case SaveState::saved:
      break;
  }
  const auto& updatedAt = updatedAt_.get();
  if (!updatedAt) return "Not saved yet";
  return "Edited " + NoteFormatting::editedTimestamp(
                         *updatedAt, {.calendar = Calendar::current(), .locale = with_.localeOfDates});
}

void NotesWorkflow::handleEditorChange(Draft& draft) {
  std::swap(draft_, draft);
  autosave_ = with_.main.postAfter(autosaveDelay, [this] { flushPendingSave(); });
}

void NotesWorkflow::flushPendingSave() {
  if (!autosave_) return;
  autosave_.reset();
  persist();
}

void NotesWorkflow::persist() {
  if (!with_.repository) return;
  const auto id = activeNoteID_.get();
  if (!id && isBlank(draft_.text)) return;
  Draft draft = draft_;
  const int session = sessionCounter_;
  saveState_ = SaveState::saving;
  try {
    store(id, std::move(draft), session);
    if (session == sessionCounter_) saveState_ = SaveState::saved;
  } catch (const Database::Failure& failure) {
    if (session == sessionCounter_) saveState_ = SaveState::failed;
    with_.state.banner = "Could not save this note: " + failure.message();
  }
}

/// The document keeps its name when a draft becomes a note, or the editor would load it under the user's
/// hands.
void NotesWorkflow::store(const std::optional<std::string>& id, Draft draft, int session) {
  std::optional<Note> note;
  if (id) {
    note = with_.repository->update(*id, std::move(draft.rtf), std::move(draft.text));
    if (!note) return;
    updateRow(*note);
  } else {
    note = with_.repository->create(std::move(draft.rtf), std::move(draft.text));
    notes_.edit([&](auto& rows) {
      rows.insert(rows.begin(), summaryOf(*note));
      return true;
    });
  }
  if (session != sessionCounter_) return;
  activeNoteID_ = note->id;
  updatedAt_ = note->updatedAt;
}

void NotesWorkflow::updateRow(const Note& note) {
  notes_.edit([&](auto& rows) {
    const auto row = std::ranges::find(rows, note.id, &NoteSummary::id);
    if (row == rows.end()) return false;
    const Date createdAt = row->createdAt;
    *row = summaryOf(note);
    row->createdAt = createdAt;
    return true;
  });
}

void NotesWorkflow::confirmDelete() {
  if (!pendingDeleteID_.get() || !with_.repository) return;
  const std::string id = *pendingDeleteID_.get();
  pendingDeleteID_ = std::nullopt;
  autosave_.reset();
  try {
    with_.repository->remove(id);
  } catch (const Database::Failure& failure) {
    with_.state.banner = "Could not delete that note: " + failure.message();
    return;
  }
  notes_.edit([&](auto& rows) {
    return std::erase_if(rows, [&](const NoteSummary& row) { return row.id == id; }) > 0;
  });
  newNote();
}

}  // namespace pell
