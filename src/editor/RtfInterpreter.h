#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editor/AttributedText.h"
#include "editor/RtfCodePages.h"
#include "editor/RtfStyle.h"
#include "editor/RtfTables.h"
#include "editor/RtfText.h"
#include "editor/RtfTokenizer.h"
#include "editor/RtfWords.h"

namespace pell {

/// Does what the tokens of one RTF document say, once.
class RtfInterpreter {
 public:
  explicit RtfInterpreter(std::string_view document)
      : tokens_(document), text_(fonts_, colours_, document.size()) {}
  RtfInterpreter(const RtfInterpreter&) = delete;
  RtfInterpreter& operator=(const RtfInterpreter&) = delete;

  AttributedText run();

 private:
  /// Where characters go.
  enum class Destination : std::uint8_t { text, muted, fontTable, colourTable, instruction, marker };

  struct Group {
    Destination destination = Destination::text;
    Destination unmuted = Destination::text;  // where they went before they were muted
    bool hasField = false;
    bool isFootnote = false;
    std::int32_t fallbackLength = 1;
    const RtfCodePage* page = nullptr;
    RtfStyle style;
  };

  struct Field {
    std::u16string instruction;
    std::optional<std::int32_t> link;  // once its result is reached
  };

  bool take(const RtfToken& token);
  void open();
  bool close();
  void leave(const Group& group);

  bool skipsFallback(const RtfToken& token);
  void symbol(char name);
  void word(const RtfToken& token);
  bool documentWord(RtfWord word, std::int32_t parameter);
  bool tableWord(RtfWord word, std::int32_t parameter);
  void textWord(const RtfWordEntry& entry, std::int32_t parameter);
  void mute();
  void fieldWord(RtfWord word);
  void openFootnote();

  void put(std::u16string_view text);
  void putUnit(char16_t unit);
  void putUnicode(std::int32_t number);
  void putPlain(std::string_view bytes);
  void putBytes(std::string_view bytes);
  void putBytesBehindFallback(std::string_view bytes);
  void putCells();
  void flushBytes();
  void endParagraph();
  void endMarker();

  bool isShown() const;
  bool isOfSymbols();
  void choosePage();
  void choosePageAnew();
  void setDocumentPage(std::int32_t number);

  RtfTokenizer tokens_;
  RtfCodePages codePages_;
  RtfFonts fonts_;
  RtfColours colours_;
  RtfText text_;

  std::vector<Group> groups_;       // the present one last
  std::vector<Field> fields_;       // that are open
  std::u16string marker_;           // of a list item
  std::string bytes_;               // that may need others to be characters
  std::u16string decoded_;          // a buffer
  bool isWithinCharacter_ = false;  // whether the next byte belongs to the last of `bytes_`
  std::int32_t fallback_ = 0;       // how many characters are yet to be passed over
  std::size_t cells_ = 0;           // of a row, that ended and have no tab yet
  int documentPage_ = RtfCodePages::latin;
  std::int32_t defaultFont_ = 0;
  const RtfCodePage* chosenPage_ = nullptr;  // of `chosenFont_`
  std::int32_t chosenFont_ = 0;
  bool isStarred_ = false;
  bool hasGenerator_ = false;
};

}  // namespace pell
