// Notes as files that other programs read and write.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "stores/Note.h"

namespace pell {

enum class NoteFormat : std::uint8_t { rtf, text, markdown };

/// Any thread.
struct NoteFiles {
  /// The bytes of a file with the whole note. RTF is as it is stored, or made of the text if what is stored
  /// is damaged; text is UTF-8.
  static std::string content(const Note& note, NoteFormat format);

  /// A name that any file system takes, after the note's title. `attempt` counts from 1 and tells apart notes
  /// of one title.
  static std::string fileName(const Note& note, NoteFormat format, int attempt);

  /// What a note is made of.
  struct Content {
    std::string rtf;
    std::string text;
    bool operator==(const Content&) const = default;
  };
  struct Refusal {
    std::string reason;
    bool operator==(const Refusal&) const = default;
  };
  /// `bytes` as RTF, with what a paste would keep of it, or as text in UTF-8, or in UTF-16 with a byte order
  /// mark. What is none of these is refused, as guessing could lose some of it.
  static std::variant<Content, Refusal> read(std::string_view bytes);
};

}  // namespace pell
