#include "app/Printable.h"

#include <fmt/format.h>

namespace pell {

std::string printable(std::string_view text) {
  std::string result;
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isControl = (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
    if (isControl) {
      result += fmt::format("\\x{:02x}", byte);
    } else {
      result += c;
    }
  }
  return result;
}

}  // namespace pell
