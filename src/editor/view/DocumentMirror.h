// Keeps a document of Qt's the same as the text of a note.
#pragma once

#include <QString>
#include <QTextDocument>
#include <optional>

#include "editor/EditableText.h"
#include "editor/view/QtTextFormats.h"

namespace pell {

/// The text is the truth and the document shows it, unit for unit, so that a position in one is the same in
/// the other. Main thread only.
class DocumentMirror {
 public:
  /// Both must outlive it.
  DocumentMirror(QTextDocument& document, const EditableText& text, Appearance appearance);

  /// What stood in `before` now stands in `after`.
  void replace(TextRange before, TextRange after);

  /// Shows everything anew in the colours of `appearance`.
  void setAppearance(Appearance appearance);
  Appearance appearance() const { return appearance_; }

  /// Gives an empty last paragraph the look of what will be typed there.
  void showTypingAttributes();

  /// An edit that was made to the document, and not to the text.
  struct Edit {
    TextRange range;  // of the text
    std::u16string replacement;
  };
  /// Takes it back and says what it was; `removed` units at `position` had become `added`. Absent if the
  /// document still shows the text.
  std::optional<Edit> takeBack(int position, int removed, int added);

  /// True while the document is being changed from here.
  bool isWriting() const { return isWriting_; }

  std::size_t documentLength() const;

 private:
  void write(TextRange before, TextRange after);
  void showAll();
  void insert(TextRange range);
  void format(TextRange range);
  void formatParagraphs(TextRange range);
  QString raw(TextRange range) const;

  QTextDocument& document_;
  const EditableText& text_;
  Appearance appearance_;
  QtTextFormats formats_;
  bool isWriting_ = false;
};

}  // namespace pell
