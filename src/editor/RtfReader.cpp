#include "editor/RtfReader.h"

#include <algorithm>

#include "editor/RtfInterpreter.h"

namespace pell {

std::optional<AttributedText> readRtf(std::string_view bytes) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
  if (!bytes.starts_with("{\\rtf")) return std::nullopt;
  return RtfInterpreter(bytes).run();
}

}  // namespace pell
