#include "editor/RtfCodePages.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

namespace pell {
namespace {

struct Numbered {
  int number;
  const char* name;
};

// Pages whose names at ICU do not follow from their numbers.
constexpr auto named = std::to_array<Numbered>({
    {10000, "macintosh"},
    {10001, "windows-932"},
    {10002, "windows-950"},
    {10003, "windows-949"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10008, "windows-936"},
    {10029, "x-mac-centraleurroman"},
    {10081, "x-mac-turkish"},
    {20866, "KOI8-R"},
    {21866, "KOI8-U"},
    {54936, "gb18030"},
    {65001, "UTF-8"},
});

struct Charset {
  int charset;
  int codePage;
};

// What Windows calls the character sets, and those of the Macintosh.
constexpr auto charsets = std::to_array<Charset>({
    {2, RtfCodePages::symbols},
    {77, 10000},
    {78, 10001},
    {79, 10003},
    {80, 10008},
    {81, 10002},
    {85, 10006},
    {86, 10081},
    {88, 10029},
    {89, 10007},
    {128, 932},
    {129, 949},
    {134, 936},
    {136, 950},
    {161, 1253},
    {162, 1254},
    {163, 1258},
    {177, 1255},
    {178, 1256},
    {186, 1257},
    {204, 1251},
    {222, 874},
    {238, 1250},
    {254, 437},
    {255, 850},
});

/// Keeps a document from having as many pages made as it can name numbers.
bool mayExist(int number) {
  return number == RtfCodePages::symbols || number == RtfCodePages::symbolsFont ||
         (number >= 437 && number <= 1258) || (number > 28590 && number <= 28605) ||
         std::any_of(named.begin(), named.end(), [&](const Numbered& row) { return row.number == number; });
}

std::string nameOf(int number) {
  const auto* found =
      std::find_if(named.begin(), named.end(), [&](const Numbered& row) { return row.number == number; });
  if (found != named.end()) return found->name;
  if (number > 28590 && number <= 28605) return fmt::format("iso-8859-{}", number - 28590);
  return fmt::format("{}-{}", number < 874 ? "ibm" : "windows", number);
}

/// What Symbol shows at 0x20 to 0x7E and at 0xA0 to 0xFE; U+FFFD where that is no character.
constexpr std::u16string_view lowerSymbols =
    u" !∀#∃%&∋()∗+,−./0123456789:;<=>?≅ΑΒΧΔΕΦΓΗΙϑΚΛΜΝΟΠΘΡΣΤΥςΩΞΨΖ[∴]⊥_‾αβχδεφγηιϕκλμνοπθρστυϖωξψζ{|}∼";
constexpr std::u16string_view upperSymbols =
    u"€ϒ′≤⁄∞ƒ♣♦♥♠↔←↑→↓°±″≥×∝∂•÷≠≡≈…⏐⎯↵ℵℑℜ℘⊗⊕∅∩∪⊃⊇⊄⊂⊆∈∉∠∇®©™∏√⋅¬∧∨⇔⇐⇑⇒⇓◊⟨®©™∑⎛⎜⎝⎡⎢⎣⎧⎨⎩⎪\uFFFD⟩∫⌠⎮⌡⎞⎟⎠⎤⎥⎦⎫⎬⎭";
static_assert(lowerSymbols.size() == 0x7F - 0x20 && upperSymbols.size() == 0xFF - 0xA0);

char16_t symbolOfFont(unsigned byte) {
  if (byte >= 0x20 && byte < 0x7F) return lowerSymbols[byte - 0x20];
  if (byte >= 0xA0 && byte < 0xFF) return upperSymbols[byte - 0xA0];
  return byte < 0x20 ? static_cast<char16_t>(byte) : char16_t{0xFFFD};
}

/// The picture that other fonts of symbols have at a byte, as far as the byte alone tells; else the place in
/// the private area where programs keep such bytes. Letters stay: fonts of letters are declared so too.
char16_t symbolAt(unsigned byte) {
  constexpr char16_t bullet = 0x2022;
  constexpr char16_t square = 0x25AA;
  constexpr unsigned bulletOfSymbol = 0xB7;
  constexpr unsigned squareOfWingdings = 0xA7;
  if (byte < 0x80) return static_cast<char16_t>(byte);
  if (byte == bulletOfSymbol) return bullet;
  if (byte == squareOfWingdings) return square;
  return static_cast<char16_t>(0xF000 + byte);
}

/// Some pages would have a control character for what is none of theirs.
void replaceUnknown(const void* /*context*/, UConverterToUnicodeArgs* arguments, const char* /*bytes*/,
                    int32_t /*length*/, UConverterCallbackReason reason, UErrorCode* status) {
  constexpr char16_t replacement = 0xFFFD;
  if (reason > UCNV_IRREGULAR) return;
  *status = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(arguments, &replacement, 1, 0, status);
}

UConverter* opened(int number) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(nameOf(number).c_str(), &status);
  if (U_SUCCESS(status)) return converter;
  status = U_ZERO_ERROR;
  return ucnv_open(nameOf(RtfCodePages::latin).c_str(), &status);
}

}  // namespace

void RtfCodePage::Close::operator()(UConverter* converter) const { ucnv_close(converter); }

RtfCodePage::RtfCodePage(int number) {
  if (number == RtfCodePages::symbols || number == RtfCodePages::symbolsFont) {
    hasAscii_ = number == RtfCodePages::symbols;
    for (unsigned byte = 0; byte < characters_.size(); ++byte)
      characters_[byte] = hasAscii_ ? symbolAt(byte) : symbolOfFont(byte);
    return;
  }
  converter_.reset(opened(number));
  if (converter_) {
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter_.get(), replaceUnknown, nullptr, nullptr, nullptr, &status);
  }
  single_ = !converter_ || ucnv_getMaxCharSize(converter_.get()) == 1;
  if (single_) {
    readSingle();
    return;
  }
  UErrorCode status = U_ZERO_ERROR;
  std::array<UBool, 256> starters{};
  ucnv_getStarters(converter_.get(), starters.data(), &status);
  if (U_SUCCESS(status)) std::copy(starters.begin(), starters.end(), leads_.begin());
}

RtfCodePage::~RtfCodePage() = default;

void RtfCodePage::readSingle() {
  for (unsigned value = 0; value < characters_.size(); ++value) {
    const char byte = static_cast<char>(value);
    std::u16string character;
    if (converter_) append(character, {&byte, 1});
    characters_[value] = character.size() == 1 ? character[0] : char16_t{0xFFFD};
  }
  for (unsigned value = ' '; value <= '~'; ++value) hasAscii_ &= characters_[value] == value;
}

void RtfCodePage::append(std::u16string& text, std::string_view bytes) const {
  const std::size_t before = text.size();
  text.resize(before + bytes.size() * 2);  // no byte makes more than a pair
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length =
      ucnv_toUChars(converter_.get(), text.data() + before, static_cast<int32_t>(text.size() - before),
                    bytes.data(), static_cast<int32_t>(bytes.size()), &status);
  text.resize(before + (U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0));
}

const RtfCodePage& RtfCodePages::page(int number) {
  auto& page = pages_[mayExist(number) ? number : latin];
  if (!page) page = std::make_unique<RtfCodePage>(mayExist(number) ? number : latin);
  return *page;
}

int RtfCodePages::ofCharset(int charset, int documents) {
  constexpr int ansi = 0;
  constexpr int firstOfTwoBytes = 932;
  constexpr int lastOfTwoBytes = 950;
  // Programs of one country write its own page under this name; programs of East Asia mean Latin by it.
  if (charset == ansi && documents >= firstOfTwoBytes && documents <= lastOfTwoBytes) return latin;
  const auto* found = std::find_if(charsets.begin(), charsets.end(),
                                   [&](const Charset& row) { return row.charset == charset; });
  return found == charsets.end() ? documents : found->codePage;
}

}  // namespace pell
