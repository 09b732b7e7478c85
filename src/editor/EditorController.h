// What stands between the text view of the notes and the rest of the application.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/Executor.h"
#include "async/Observable.h"
#include "editor/BlockStyle.h"
#include "editor/ListMarkers.h"
#include "editor/RunningStats.h"
#include "editor/TextCounting.h"
#include "editor/TextView.h"

namespace pell {

/// Owns no text: the document lives in the view, which comes and goes while the controller stays. The toolbar
/// reads `formatting` and calls the commands, the status line reads `stats`, and whoever keeps notes swaps
/// documents in and hears of each change. Without a view, and where the view refuses a change, every command
/// does nothing.
///
/// Main thread only; nothing fails. Destroying it ends a flash that is under way.
class EditorController {
 public:
  static constexpr Seconds flashDecay{0.7};

  /// What the toolbar shows of the place where the user works.
  struct Formatting {
    bool bold = false;
    bool italic = false;
    bool underline = false;
    bool strikethrough = false;
    bool link = false;
    bool bulletList = false;
    bool orderedList = false;
    bool quote = false;
    BlockStyle blockStyle = BlockStyle::body;
    bool canUndo = false;
    bool canRedo = false;
    bool operator==(const Formatting&) const = default;
  };

  struct Snapshot {
    std::string rtf;
    std::string text;  // UTF-8
  };

  explicit EditorController(Executor& main) : main_(main) {}
  EditorController(const EditorController&) = delete;
  EditorController& operator=(const EditorController&) = delete;

  /// The view on screen sets it and takes it back before it goes.
  TextView* textView = nullptr;

  /// Told of every change of the document, not of a swap. May swap the snapshot for an older one: its memory
  /// serves the next keystroke, and taking memory for a whole note each time costs more than filling it.
  std::function<void(Snapshot& snapshot)> onChange;

  const Observable<Formatting>& formatting() const { return formatting_; }

  /// Of the whole document, as of its last change: a document that was only loaded is not counted.
  const Observable<TextStats>& stats() const { return stats_; }

  // Documents. A swap is no edit: it tells nobody, and cannot be undone.
  /// Where the RTF is missing or damaged, the text of the document is shown.
  void load(const Snapshot& document);
  /// An empty document that opens for typing a title.
  void loadEmpty();
  bool isSwapping() const { return isSwapping_; }

  /// Both parts empty without a view.
  Snapshot snapshot() const;

  /// Puts the paragraphs (UTF-8) in the place of the selection, apart from the word or the line before it.
  /// Where they stand now, with what sets them apart; absent if there was nothing to put or no view.
  std::optional<TextRange> insert(const std::vector<std::string>& paragraphs);

  /// Draws the eye to `range` by a wash that fades over `duration`. The view's mark alone: the document does
  /// not change. A new flash ends the one before.
  void flashHighlight(TextRange range, Seconds duration = flashDecay);

  /// The document has changed: counts it, tells `onChange`, and refreshes. Nothing during a swap.
  void notifyChanged();

  /// Looks again what the toolbar has to show.
  void refresh();

  // Characters. With an empty selection these change what is typed next.
  /// Of a selection each run is decided by itself: a mixed one is inverted.
  void toggleBold() { toggleFont(&toggledBold); }
  void toggleItalic() { toggleFont(&toggledItalic); }
  /// Of a selection its start decides for the whole.
  void toggleUnderline() { toggleLine(&TextAttributes::underline); }
  void toggleStrikethrough() { toggleLine(&TextAttributes::strikethrough); }

  /// Gives whole paragraphs, and what is typed next, the font of `style`; bold and italic in them are lost.
  void setBlockStyle(BlockStyle style);

  // Paragraphs. The first one of the selection decides for all of them, and it alone takes a list's indents.
  void toggleBulletList() { toggleList(ListKind::bullet); }
  void toggleOrderedList() { toggleList(ListKind::ordered); }
  void toggleQuote();
  /// Makes the paragraph at `range` a plain one, with the caret at its start.
  void endQuote(TextRange range);

  /// Links the selected text to `text`, an address as typed; one without a scheme gets "https://". An empty
  /// one takes the link away.
  void setLink(std::string_view text);
  /// Where the start of the selection leads.
  std::optional<std::string> currentLink() const;

  void undo();
  void redo();

 private:
  using LineAttribute = std::optional<int> TextAttributes::*;

  static Font toggledBold(Font font);
  static Font toggledItalic(Font font);

  void take(Snapshot& snapshot) const;
  EditableText* document() const { return textView ? &textView->document() : nullptr; }
  /// Makes an edit of `range` that can be undone, and tells everybody, who may bring another document: what
  /// belongs to the edit is done in it. False if there is no view, or it does not agree.
  bool change(TextRange range, const std::function<void(EditableText&)>& edit);
  void swap(AttributedText text, const std::function<TextAttributes(const AttributedText&)>& typing);
  void tickFlash(TextRange range, int tick);
  void endFlash();

  void toggleFont(Font (*toggled)(Font));
  void toggleLine(LineAttribute line);
  void toggleList(ListKind kind);

  Executor& main_;
  Observable<Formatting> formatting_;
  Observable<TextStats> stats_;
  RunningStats counting_;
  Snapshot told_;  // what `onChange` left
  bool isSwapping_ = false;
  std::vector<DelayedWork> flash_;  // the ticks to come
};

}  // namespace pell
