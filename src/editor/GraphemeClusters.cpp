#include "editor/GraphemeClusters.h"

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <utility>

namespace pell {
namespace {

/// How a code point behaves between its neighbours.
enum class Kind : std::uint8_t {
  unknown,         // ask ICU
  plain,           // stands alone, and takes marks
  control,         // stands alone, and takes none
  carriageReturn,  // a control that joins a line feed
  mark,            // joins what is before it
  reorderedMark,   // a mark that does not part a virama from its consonants
  virama,          // such a mark, which joins the consonant after it to the one before
  consonant,
};

Kind kindOf(UChar32 character) {
  if (u_hasBinaryProperty(character, UCHAR_EXTENDED_PICTOGRAPHIC)) return Kind::unknown;
  switch (u_getIntPropertyValue(character, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_CR:
      return Kind::carriageReturn;
    case U_GCB_LF:
    case U_GCB_CONTROL:
      return Kind::control;
    case U_GCB_SPACING_MARK:
      return Kind::mark;
    case U_GCB_ZWJ:
      return Kind::reorderedMark;
    case U_GCB_EXTEND:
      if (u_getCombiningClass(character) == 0) return Kind::mark;
      return u_getIntPropertyValue(character, UCHAR_INDIC_SYLLABIC_CATEGORY) == U_INSC_VIRAMA
                 ? Kind::virama
                 : Kind::reorderedMark;
    case U_GCB_OTHER:
      return u_getIntPropertyValue(character, UCHAR_INDIC_SYLLABIC_CATEGORY) == U_INSC_CONSONANT
                 ? Kind::consonant
                 : Kind::plain;
    default:
      return Kind::unknown;
  }
}

constexpr std::size_t lettersEnd = 0x980;
constexpr std::size_t punctuationBegin = 0x2000;
constexpr std::size_t punctuationEnd = 0x2070;

struct Table {
  std::array<Kind, lettersEnd> letters;
  std::array<Kind, punctuationEnd - punctuationBegin> punctuation;

  Table() {
    for (std::size_t index = 0; index < letters.size(); ++index) {
      letters[index] = kindOf(static_cast<UChar32>(index));
    }
    for (std::size_t index = 0; index < punctuation.size(); ++index) {
      punctuation[index] = kindOf(static_cast<UChar32>(punctuationBegin + index));
    }
  }
};

const Table& table() {
  static const Table table;
  return table;
}

struct Step {
  Kind kind;
  std::size_t length;  // in bytes; meaningless where the kind is unknown
};

/// The code point at `at`, which must lie before the end.
inline Step stepAt(const Table& table, std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t offset) {
    return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0u;
  };
  const auto continues = [](unsigned value) { return (value & 0xC0) == 0x80; };
  const unsigned first = byte(0);
  if (first < 0x80) return {table.letters[first], 1};
  const unsigned second = byte(1);
  if (!continues(second)) return {Kind::unknown, 0};
  if (first >= 0xC2 && first <= 0xDF) return {table.letters[(first & 0x1F) << 6 | (second & 0x3F)], 2};
  const unsigned third = byte(2);
  if ((first & 0xF0) != 0xE0 || !continues(third)) return {Kind::unknown, 0};
  const unsigned character = (first & 0xF) << 12 | (second & 0x3F) << 6 | (third & 0x3F);
  if (character >= 0x800 && character < lettersEnd) return {table.letters[character], 3};
  if (character >= punctuationBegin && character < punctuationEnd) {
    return {table.punctuation[character - punctuationBegin], 3};
  }
  return {Kind::unknown, 0};
}

constexpr std::size_t cannotTell = 0;

/// The end of the cluster that begins at `at`, or `cannotTell`.
inline std::size_t endByTable(const Table& table, std::string_view text, std::size_t at) {
  const Step first = stepAt(table, text, at);
  if (first.kind == Kind::unknown) return cannotTell;
  std::size_t end = at + first.length;
  if (first.kind == Kind::control) return end;
  if (first.kind == Kind::carriageReturn) return end < text.size() && text[end] == '\n' ? end + 1 : end;

  bool afterConsonant = first.kind == Kind::consonant;  // with nothing but reordered marks since
  bool afterVirama = false;
  while (end < text.size()) {
    const Step step = stepAt(table, text, end);
    switch (step.kind) {
      case Kind::unknown:
        return cannotTell;
      case Kind::mark:
        afterConsonant = afterVirama = false;
        break;
      case Kind::reorderedMark:
        break;
      case Kind::virama:
        afterVirama = afterConsonant;
        break;
      case Kind::consonant:
        if (!afterVirama) return end;
        afterVirama = false;
        break;
      default:
        return end;
    }
    end += step.length;
  }
  return end;
}

bool startsAnew(Kind kind) {
  return kind == Kind::plain || kind == Kind::control || kind == Kind::carriageReturn;
}

/// The first place after `at` where ICU is not needed any more: between a code point of the table and one
/// that joins nothing before it (a line feed may join a carriage return).
std::size_t endOfHardStretch(std::string_view text, std::size_t at) {
  const Table& kinds = table();
  bool mayEnd = false;
  while (at < text.size()) {
    const Step step = stepAt(kinds, text, at);
    if (mayEnd && startsAnew(step.kind)) return at;
    mayEnd = step.kind != Kind::unknown && step.kind != Kind::carriageReturn;
    if (step.kind != Kind::unknown) {
      at += step.length;
    } else {
      [[maybe_unused]] UChar32 character;
      U8_NEXT(reinterpret_cast<const std::uint8_t*>(text.data()), at, text.size(), character);
    }
  }
  return at;
}

/// How many bytes from `at` on, of `limit` at most, are ASCII and no carriage return; in whole blocks.
std::size_t simpleRun(std::string_view text, std::size_t at, std::uint64_t limit) {
  constexpr std::size_t block = 32;
  const std::size_t end = at + std::min<std::uint64_t>(limit, text.size() - at);
  const std::size_t begin = at;
  for (; at + block <= end; at += block) {
    unsigned char different = 0;
    for (std::size_t index = 0; index < block; ++index) {
      const auto byte = static_cast<unsigned char>(text[at + index]);
      different |= static_cast<unsigned char>((byte & 0x80) | (byte == '\r'));
    }
    if (different) break;
  }
  return at - begin;
}

}  // namespace

/// ICU's rules on one stretch of the text after the other.
class GraphemeClusters::Segmenter {
 public:
  Segmenter() {
    UErrorCode status = U_ZERO_ERROR;
    clusters_.reset(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) throw std::runtime_error("The text boundary rules of ICU are missing.");
  }
  ~Segmenter() { utext_close(&view_); }
  Segmenter(const Segmenter&) = delete;
  Segmenter& operator=(const Segmenter&) = delete;

  void open(std::string_view stretch) {
    UErrorCode status = U_ZERO_ERROR;
    utext_openUTF8(&view_, stretch.data(), static_cast<std::int64_t>(stretch.size()), &status);
    clusters_->setText(&view_, status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU cannot read the text.");
    clusters_->first();
    begin_ = 0;
  }

  /// The length of the next cluster of the stretch.
  std::size_t next() {
    const int32_t end = clusters_->next();
    return static_cast<std::size_t>(end - std::exchange(begin_, end));
  }

 private:
  std::unique_ptr<icu::BreakIterator> clusters_;
  UText view_ = UTEXT_INITIALIZER;
  int32_t begin_ = 0;
};

GraphemeClusters::GraphemeClusters(std::string_view utf8) : text_(utf8) {}

GraphemeClusters::~GraphemeClusters() = default;

void GraphemeClusters::openHardStretch() {
  hardStretchEnd_ = endOfHardStretch(text_, at_);
  if (!segmenter_) segmenter_ = std::make_unique<Segmenter>();
  segmenter_->open(text_.substr(at_, hardStretchEnd_ - at_));
}

std::size_t GraphemeClusters::endOfNext() {
  if (at_ >= hardStretchEnd_) {
    if (const std::size_t end = endByTable(table(), text_, at_); end != cannotTell) return end;
    openHardStretch();
  }
  return at_ + segmenter_->next();
}

std::string_view GraphemeClusters::next() {
  if (at_ >= text_.size()) return {};
  const std::size_t begin = at_;
  at_ = endOfNext();
  return text_.substr(begin, at_ - begin);
}

std::int64_t GraphemeClusters::skip(std::int64_t limit) {
  std::int64_t skipped = 0;
  while (skipped < limit && at_ < text_.size()) {
    const auto wanted = static_cast<std::uint64_t>(limit - skipped);
    if (std::size_t run = at_ >= hardStretchEnd_ ? simpleRun(text_, at_, wanted) : 0) {
      // What follows the run may join its last character.
      if (at_ + run < text_.size()) --run;
      at_ += run;
      skipped += static_cast<std::int64_t>(run);
    } else {
      at_ = endOfNext();
      ++skipped;
    }
  }
  return skipped;
}

std::int64_t GraphemeClusters::count(std::string_view utf8) {
  return GraphemeClusters(utf8).skip(std::numeric_limits<std::int64_t>::max());
}

std::string_view GraphemeClusters::prefix(std::string_view utf8, std::int64_t limit) {
  // A character has one byte at least.
  if (std::cmp_less_equal(utf8.size(), limit)) return utf8;
  GraphemeClusters clusters(utf8);
  clusters.skip(limit);
  return utf8.substr(0, clusters.at_);
}

}  // namespace pell
