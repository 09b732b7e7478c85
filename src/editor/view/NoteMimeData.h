// A piece of a note on the clipboard or under the pointer.
#pragma once

#include <QMimeData>
#include <QObject>
#include <string>
#include <utility>
#include <variant>

#include "editor/AttributedText.h"

namespace pell {

/// Offers the piece as RTF and as plain text, with a mark by which Pell knows its own; each is made when it
/// is asked for. Main thread only.
class NoteMimeData final : public QMimeData {
 public:
  /// `origin` is the view that it comes from.
  NoteMimeData(AttributedText text, const QObject* origin) : text_(std::move(text)), origin_(origin) {}

  /// Whether `data` is a piece of the text that `origin` shows.
  static bool isFrom(const QObject* origin, const QMimeData& data);

  QStringList formats() const override;

  static bool canRead(const QMimeData& source);

  /// Text of its own looks, or text that takes those of the place where it goes.
  using Content = std::variant<std::u16string, AttributedText>;

  /// The best that `source` has: RTF, then HTML, then plain text. A piece of a note comes back as it was;
  /// from elsewhere come text, sizes, bold, italic, lines and links, and the rest takes the looks of a note,
  /// as foreign colours could not be read in the dark.
  static Content read(const QMimeData& source);

 protected:
  QVariant retrieveData(const QString& type, QMetaType wanted) const override;

 private:
  AttributedText text_;
  const QObject* origin_;
};

}  // namespace pell
