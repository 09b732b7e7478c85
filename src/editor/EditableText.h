// The text of an editor while it is worked on: the attributed text, the selection, the attributes of what
// will be typed next, and what can be undone.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "editor/AttributedText.h"
#include "editor/EditSpan.h"
#include "editor/UndoHistory.h"

namespace pell {

/// A view owns one, shows it and brings the user's edits to it. Main thread only. Ranges are cut to the text.
///
/// An edit that stands between `shouldChangeText` and `didChangeText` is a step that can be undone; typing
/// that goes on where it was joins the step before. An edit outside of such a pair joins the last step, so
/// that undoing always meets the text that it knows; where there is none, it is one by itself.
///
/// After each transaction every paragraph has the paragraph style of its first character.
class EditableText {
 public:
  EditableText() = default;
  EditableText(const EditableText&) = delete;
  EditableText& operator=(const EditableText&) = delete;

  /// Asked and told about changes, as a platform's text view asks its delegate.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    /// Asked before a change; `replacement` is absent when only attributes change. False: the change must not
    /// be made, and perhaps has been made in another way already.
    virtual bool shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement) = 0;
    virtual void textDidChange() = 0;
    virtual void textViewDidChangeSelection() = 0;
  };

  /// A view that shows the text. Told after each change; it must not change the text from there.
  class Mirror {
   public:
    virtual ~Mirror() = default;
    /// What stood in `before` now stands in `after`, which begins at the same place; equal lengths may also
    /// mean that only attributes changed.
    virtual void textReplaced(TextRange before, TextRange after) = 0;
    /// Told after each change of the text too, as a view moves its selection in its own way then; and when
    /// something else will be typed there, as it may be higher.
    virtual void selectionMoved() = 0;
  };

  void setDelegate(Delegate* delegate) { delegate_ = delegate; }
  void setMirror(Mirror* mirror) { mirror_ = mirror; }

  const AttributedText& storage() const { return storage_; }

  // Transactions. They nest; when the outermost ends the mirror is told once of the least stretch with all
  // that has changed, and then whoever asks of the selection. An edit outside of one is one by itself.
  void beginEditing();
  void endEditing();
  /// A new document, with the caret at its start: nothing can be undone any more.
  void setAttributedString(AttributedText text);
  /// The selection stays on its text: what stands behind the edit moves with it.
  void replaceCharacters(TextRange range, const AttributedText& replacement);
  void changeAttributes(TextRange range, const std::function<void(TextAttributes&)>& change);

  TextRange selectedRange() const { return selection_; }
  /// The attributes of what is typed next become those of the text before the selection, or at it if text is
  /// selected or nothing of the paragraph stands before; an empty last paragraph keeps what it was left with.
  void setSelectedRange(TextRange range);
  const TextAttributes& typingAttributes() const { return typing_; }
  void setTypingAttributes(TextAttributes attributes);

  /// Asks the delegate, and on its yes opens a step.
  bool shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement);
  /// Closes the step and tells the delegate.
  void didChangeText();

  // What a user does.
  /// Types in the place of `range` with the typing attributes and puts the caret behind. False if it was
  /// refused. Nobody is asked or told of nothing in the place of nothing.
  bool insertText(std::u16string_view text, TextRange range);
  /// Pastes or drops: the same with attributes of its own.
  bool insertText(const AttributedText& text, TextRange range);

  bool canUndo() const { return history_.canUndo(); }
  bool canRedo() const { return history_.canRedo(); }
  /// Text and selection become what they were before the last step, and the delegate is told of a change.
  void undo();
  void redo();

 private:
  /// Where typing, or deleting, ended.
  struct Typed {
    bool deletes = false;
    std::size_t at = 0;
  };

  TextRange cut(TextRange range) const;
  bool isAllowed(TextRange range, std::optional<std::u16string_view> replacement);
  bool goesOn(std::u16string_view text, TextRange range) const;
  void put(TextRange range, const AttributedText& replacement);
  void enter(const AttributedText& text, TextRange range);
  void apply(const UndoHistory::Step& step);
  void fixParagraphStyles(TextRange range);
  bool isAtEmptyEnd() const;
  void followSelection(bool textChanged);

  AttributedText storage_;
  TextRange selection_;
  TextAttributes typing_;
  std::optional<TextAttributes> emptyEnd_;  // what the empty last paragraph was left with
  UndoHistory history_;
  std::optional<Typed> typed_;
  Delegate* delegate_ = nullptr;
  Mirror* mirror_ = nullptr;

  // Of the transaction that is open.
  int nesting_ = 0;
  std::optional<EditSpan> changed_;
  TextRange selectionBefore_;
  bool isRecording_ = true;  // what is undone or redone is known
};

}  // namespace pell
