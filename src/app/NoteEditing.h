// The open note and its editor, as the application model sees them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "async/Time.h"
#include "editor/TextRange.h"

namespace pell {

/// Main thread only. Nothing here fails; what goes wrong is told to the user where it happens.
class NoteEditing {
 public:
  virtual ~NoteEditing() = default;

  /// Whether an editor is on screen. Without one nothing can be inserted.
  virtual bool hasView() const = 0;

  /// Puts the paragraphs at the caret and says where they stand now; absent if there was nothing to put.
  virtual std::optional<TextRange> insert(const std::vector<std::string>& paragraphs) = 0;

  /// Shows the user where an insertion went; the mark fades over `span`.
  virtual void flashHighlight(TextRange range, Seconds span) = 0;

  /// Opens an empty draft, after saving what the note before it still held back.
  virtual void newNote() = 0;

  /// Saves at once what waits to be saved. Synchronous, as the process may end afterwards.
  virtual void flushPendingSave() = 0;

  /// Reads the list of notes again.
  virtual void reloadNotes() = 0;
};

/// A program that has no editor: no view is ever there, so dictations go elsewhere.
class NoNoteEditing final : public NoteEditing {
 public:
  bool hasView() const override { return false; }
  std::optional<TextRange> insert(const std::vector<std::string>&) override { return std::nullopt; }
  void flashHighlight(TextRange, Seconds) override {}
  void newNote() override {}
  void flushPendingSave() override {}
  void reloadNotes() override {}
};

}  // namespace pell
