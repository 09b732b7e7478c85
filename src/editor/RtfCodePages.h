// The bytes of RTF documents as Unicode.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <unicode/uversion.h>
#include <unordered_map>

struct UConverter;

namespace pell {

/// One code page. One thread.
class RtfCodePage {
 public:
  /// By the number that Windows gives it. What is not known here counts as 1252.
  explicit RtfCodePage(int number);
  RtfCodePage(const RtfCodePage&) = delete;
  RtfCodePage& operator=(const RtfCodePage&) = delete;
  ~RtfCodePage();

  /// Of a page whose every byte is a character.
  bool isSingle() const { return single_; }
  char16_t character(unsigned char byte) const { return characters_[byte]; }

  /// Whether the printable bytes of ASCII are what they are there.
  bool hasAscii() const { return hasAscii_; }

  /// Of the other pages: whether another byte follows this one. Which one does not matter, so that a
  /// character's second half may look like plain text.
  bool isLead(unsigned char byte) const { return leads_[byte]; }
  /// Bytes that belong to no character become U+FFFD.
  void append(std::u16string& text, std::string_view bytes) const;

 private:
  struct Close {
    void operator()(UConverter* converter) const;
  };

  void readSingle();

  bool single_ = true;
  bool hasAscii_ = true;
  std::array<char16_t, 256> characters_{};
  std::array<bool, 256> leads_{};
  std::unique_ptr<UConverter, Close> converter_;
};

/// Those that a document uses, each made once.
class RtfCodePages {
 public:
  static constexpr int latin = 1252;
  static constexpr int symbols = 42;      // fonts whose bytes stand for pictures
  static constexpr int symbolsFont = 43;  // the one of these whose name is Symbol

  const RtfCodePage& page(int number);

  /// The code page of a character set of a font table; `documents` is that of the document.
  static int ofCharset(int charset, int documents);

 private:
  std::unordered_map<int, std::unique_ptr<RtfCodePage>> pages_;
};

}  // namespace pell
