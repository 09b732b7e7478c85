// The control words of RTF that are known here. One table says what becomes of each; docs/rtf.md shows it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace pell {

/// What a control word means to the reader.
enum class RtfWord : std::uint8_t {
  unknown,  // in no table: passed over, with its group if it stands behind \*
  ignored,  // known, and nothing here to hold it
  skipped,  // its whole group is left out
  rtf,      // the document
  codePage,
  macCodePage,
  pcCodePage,
  pcaCodePage,
  defaultFont,
  generator,
  fallbackLength,  // \uc
  unicode,         // \u
  muted,           // its group is passed over but for what `shown` opens again
  shown,
  fontTable,
  font,  // \f: names one in the table, chooses one in the text
  fontCharset,
  fontCodePage,
  colourTable,
  red,
  green,
  blue,
  plain,  // characters
  fontSize,
  exactFontSize,
  fontWeight,
  bold,
  italic,
  underline,
  noUnderline,
  strikethrough,
  foreground,
  background,
  shading,
  highlight,
  hidden,
  paragraphDefaults,  // paragraphs
  lineHeight,
  lineHeightMultiple,
  spaceAfter,
  firstLineIndent,
  leftIndent,
  rightIndent,
  leadingTailIndent,
  tabStop,
  defaultTabInterval,
  paragraph,  // text
  newLine,    // a line break unless the line is empty
  cell,
  row,
  nestedRow,  // the same where what stands around it is left out
  character,  // one character, `unit` of the table
  field,
  fieldInstruction,
  fieldResult,
  listText,
  footnote,
};

struct RtfWordEntry {
  std::string_view names;  // parted by blanks
  RtfWord word = RtfWord::unknown;
  bool written = false;
  std::string_view meaning;
  char16_t unit = 0;  // of a `character`
};

/// Every word known, in the order of their meanings.
std::span<const RtfWordEntry> rtfWords();

/// An entry of `unknown` for what is not in the table. Any thread.
const RtfWordEntry& findRtfWord(std::string_view name);

}  // namespace pell
