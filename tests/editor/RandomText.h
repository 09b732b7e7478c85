#pragma once

#include <random>
#include <string>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <vector>

namespace pell::testing {

/// Texts that put code points next to each other that care for their neighbours. The same seed gives the
/// same texts on every machine.
class RandomText {
 public:
  explicit RandomText(unsigned seed) : engine_(seed) {}

  /// `length` pieces; now and then a piece is no UTF-8 at all.
  std::string text(int length) {
    std::string text;
    const unsigned flavour = below(6);
    for (int piece = 0; piece < length; ++piece) {
      if (flavour == 5 && below(8) == 0) {
        text += static_cast<char>(0x80 + below(0x80));
      } else {
        append(text, character(flavour));
      }
    }
    return text;
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }

  static void append(std::string& text, UChar32 character) {
    char bytes[U8_MAX_LENGTH];
    int32_t size = 0;
    U8_APPEND_UNSAFE(bytes, size, character);
    text.append(bytes, static_cast<std::size_t>(size));
  }

 private:
  UChar32 character(unsigned flavour) {
    // White space of all kinds, controls, marks, viramas and joiners of several scripts, prepended signs,
    // flags, Hangul, pictographs with what modifies them.
    static const std::vector<UChar32> delicate{
        ' ',    ' ',    '\t',    '\n',    '\r',    '\r',    '\n',    '\v',    0x85,    0xA0,    0xA9,
        0xAD,   0x1680, 0x2003,  0x2028,  0x2029,  0x202F,  0x3000,  0x301,   0x308,   0x20DD,  0x600,
        0x6DD,  0x70F,  0x8E2,   0x915,   0x937,   0x930,   0x93C,   0x93E,   0x93F,   0x94D,   0x94D,
        0x902,  0x951,  0x905,   0x958,   0x995,   0x9CD,   0x9BE,   0xC15,   0xC4D,   0xD15,   0xD4D,
        0xD4E,  0xE33,  0x1100,  0x1161,  0x11A8,  0xAC00,  0xAC01,  0x200B,  0x200C,  0x200D,  0x200D,
        0x2019, 0x203C, 0x2764,  0xFE0F,  0x1F1E9, 0x1F1EA, 0x1F1EA, 0x1F469, 0x1F467, 0x1F3FD, 0x1F680,
        0xFEFF, 0xFFFD, 0x110BD, 0x11A3A, 0x1D165, 0xE0020, 0xE0001, 0x10FFFF};
    switch (below(8) < 3 ? 0 : flavour) {
      case 0:
        return delicate[below(static_cast<unsigned>(delicate.size()))];
      case 1:
        return static_cast<UChar32>(0x900 + below(0x80));  // Devanagari
      case 2:
        return static_cast<UChar32>(below(0x980));
      case 3:
        return static_cast<UChar32>(' ' + below(0x5F));
      case 4:
        return static_cast<UChar32>(0x1F000 + below(0xB00));
      default: {
        const auto any = static_cast<UChar32>(below(0x110000));
        return U_IS_SURROGATE(any) ? 'x' : any;
      }
    }
  }

  std::mt19937 engine_;
};

}  // namespace pell::testing
