#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace pell {

struct RtfToken {
  enum class Kind : std::uint8_t {
    end,
    open,    // of a group
    close,   //
    word,    // `text` is its name
    symbol,  // a control of one character, which `text` holds
    byte,    // \'hh: `parameter` is the byte
    binary,  // raw data, passed over
    text,    // bytes as they stand, without line breaks
  };

  Kind kind = Kind::end;
  bool hasParameter = false;
  bool isPlain = false;        // of a text: printable ASCII throughout
  std::int32_t parameter = 0;  // held within its type
  std::string_view text;
};

/// Cuts an RTF document into tokens. Any bytes are taken; nothing is read past the end. The document is
/// borrowed.
class RtfTokenizer {
 public:
  explicit RtfTokenizer(std::string_view document) : document_(document) {}

  RtfToken next();

  /// Passes over the next byte if it is text, and says so.
  bool skipTextByte();

  /// Goes on to the bracket that closes the present group, or to the end.
  void skipGroup();

 private:
  RtfToken control();
  RtfToken word();
  RtfToken hexByte();
  RtfToken text();
  std::size_t endOfParameter(RtfToken& token, std::size_t begin) const;
  void skipBinary(const RtfToken& token);

  std::string_view document_;
  std::size_t at_ = 0;
};

}  // namespace pell
