#include "app/NoteFiles.h"

#include <fmt/format.h>
#include <optional>

#include "editor/GraphemeClusters.h"
#include "editor/MarkdownWriter.h"
#include "editor/RichText.h"
#include "editor/Utf16.h"
#include "stores/Text.h"

namespace pell {
namespace {

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleMark = "\xFF\xFE";
constexpr std::string_view bigMark = "\xFE\xFF";
constexpr std::size_t longestName = 200;  // bytes; file systems take 255

std::string_view extension(NoteFormat format) {
  switch (format) {
    case NoteFormat::rtf:
      return "rtf";
    case NoteFormat::text:
      return "txt";
    case NoteFormat::markdown:
      break;
  }
  return "md";
}

/// What the editor would show.
AttributedText document(const Note& note) { return RichText::document(note.rtf, note.text); }

bool isFit(char each) {
  const auto byte = static_cast<unsigned char>(each);
  return byte >= ' ' && byte != 0x7F && std::string_view("/\\:*?\"<>|").find(each) == std::string_view::npos;
}

/// Without what some file system or a shell takes amiss; cut between characters.
std::string stem(std::string_view title) {
  std::string fit;
  for (char each : title) fit += isFit(each) ? each : ' ';
  std::string_view rest = trimmed(fit);
  while (rest.starts_with('.') || rest.starts_with('-')) rest = trimmed(rest.substr(1));
  std::string result;
  GraphemeClusters clusters(rest);
  for (auto next = clusters.next(); !next.empty() && result.size() + next.size() <= longestName;
       next = clusters.next()) {
    result += next;
  }
  while (result.ends_with('.') || result.ends_with(' ')) result.pop_back();
  return result.empty() ? "Note" : result;
}

NoteFiles::Content made(const AttributedText& document) {
  return {.rtf = RichText::rtf(document), .text = document.utf8()};
}

std::u16string utf16(std::string_view bytes, bool isLittle) {
  std::u16string text;
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    text += static_cast<char16_t>(isLittle ? first | second << 8U : first << 8U | second);
  }
  return text;
}

std::variant<NoteFiles::Content, NoteFiles::Refusal> readText(const std::string& text) {
  if (text.find('\0') != std::string::npos) return NoteFiles::Refusal{"this is no text"};
  return made(RichText::bodyParagraph(text));
}

}  // namespace

std::string NoteFiles::content(const Note& note, NoteFormat format) {
  switch (format) {
    case NoteFormat::rtf:
      return RichText::intact(note.rtf, note.text) ? note.rtf : RichText::rtf(document(note));
    case NoteFormat::text:
      return document(note).utf8();
    case NoteFormat::markdown:
      break;
  }
  return MarkdownWriter::write(document(note));
}

std::string NoteFiles::fileName(const Note& note, NoteFormat format, int attempt) {
  const std::string number = attempt == 1 ? "" : fmt::format(" {}", attempt);
  return fmt::format("{}{}.{}", stem(note.title), number, extension(format));
}

std::variant<NoteFiles::Content, NoteFiles::Refusal> NoteFiles::read(std::string_view bytes) {
  if (bytes.starts_with(littleMark) || bytes.starts_with(bigMark)) {
    if (bytes.size() % 2 != 0) return Refusal{"its UTF-16 is cut off"};
    return readText(utf8Of(utf16(bytes.substr(2), bytes.starts_with(littleMark))));
  }
  if (bytes.starts_with(utf8Mark)) bytes.remove_prefix(utf8Mark.size());
  if (const std::optional<AttributedText> imported = RichText::foreign(bytes)) {
    if (imported->isEmpty()) return Refusal{"no text could be found in this RTF"};
    return made(*imported);
  }
  if (!isUtf8(bytes)) return Refusal{"this is neither RTF nor text in UTF-8 or UTF-16"};
  return readText(std::string(bytes));
}

}  // namespace pell
