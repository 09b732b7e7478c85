// The attributes of a note in Qt's terms.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "editor/TextAttributes.h"

namespace pell {

/// How attributes look in light or in dark surroundings. A point of a note is a logical pixel, so that a note
/// looks the same whatever size the desktop's own texts have. Main thread only.
class QtTextFormats {
 public:
  /// Qt knows one default interval for all paragraphs; where a style has its own, so many stops show it.
  static constexpr int generatedStops = 20;

  explicit QtTextFormats(Appearance appearance) : appearance_(appearance) {}

  /// A link gets the look of links besides its own attributes. What has no colour is drawn in ink.
  const QTextCharFormat& characters(const TextAttributes& attributes);

  /// Of a paragraph whose first character has `attributes`. A quote lies on one ground, with no gaps between
  /// its lines.
  QTextBlockFormat paragraph(const TextAttributes& attributes) const;

  static QFont fontOf(const Font& font);

  /// `text` as a document of Qt's holds it, unit for unit: LF ends a block, and the characters by which Qt
  /// frames its own structures are replaced by U+FFFD.
  static QString shown(std::u16string_view text);

 private:
  QTextCharFormat make(const TextAttributes& attributes) const;

  Appearance appearance_;
  // Runs repeat each other's attributes, and Qt compares its formats faster when they are the same object.
  std::vector<std::pair<TextAttributes, QTextCharFormat>> made_;
};

QColor colour(Rgb value);
QColor colour(PaletteColour name, Appearance appearance);

}  // namespace pell
