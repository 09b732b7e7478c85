// The tables at the head of an RTF document: its fonts and colours.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "editor/TextAttributes.h"

namespace pell {

/// `{\f0\fswiss\fcharset0 Name;}`, or the same without the inner brackets.
class RtfFonts {
 public:
  void begin(std::int32_t number);
  void setCodePage(int codePage);
  /// Names end at a semicolon.
  void append(std::u16string_view text);
  /// A character that ends no name, whatever it is.
  void appendToName(char16_t unit);
  void end();

  /// Empty for a font that has none.
  const std::string& family(std::int32_t number) const;
  std::optional<int> codePage(std::int32_t number) const;
  bool isListed(std::int32_t number) const { return fonts_.contains(number); }

 private:
  static constexpr std::size_t longestName = 256;  // UTF-16 code units

  struct Font {
    std::string family;
    std::optional<int> codePage;
  };

  std::unordered_map<std::int32_t, Font> fonts_;
  Font* current_ = nullptr;
  std::u16string name_;
};

/// `;\red0\green0\blue0;`: the first is nobody's, what the reader of the text likes, also where a document
/// gives it a colour: it would be that of all text that names none.
class RtfColours {
 public:
  void setRed(std::int32_t value);
  void setGreen(std::int32_t value);
  void setBlue(std::int32_t value);
  /// A semicolon ends a colour.
  void append(std::u16string_view text);

  /// One of the palette where it has exactly that in light surroundings; absent for a number without a
  /// colour.
  std::optional<TextColour> colour(std::int32_t number) const;

 private:
  Rgb& next();

  std::vector<std::optional<Rgb>> colours_;
  std::optional<Rgb> next_;
};

}  // namespace pell
