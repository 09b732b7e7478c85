#include "localserver/Form.h"

#include <charconv>
#include <string_view>

#include "localserver/ApiError.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

std::string decoded(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    unsigned char byte = 0;
    const bool escape = text.size() >= 3 && text[0] == '%' &&
                        std::from_chars(text.data() + 1, text.data() + 3, byte, 16).ptr == text.data() + 3;
    result += escape ? static_cast<char>(byte) : text[0] == '+' ? ' ' : text[0];
    text.remove_prefix(escape ? 3 : 1);
  }
  if (repairedUtf8(result) != result) {
    throw Refusal({400, "BAD_REQUEST", "The form holds bytes that are no text."});
  }
  return result;
}

}  // namespace

nlohmann::json parseForm(const std::string& text) {
  auto fields = nlohmann::json::object();
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('&', begin), text.size());
    const std::string_view field = std::string_view(text).substr(begin, end - begin);
    const std::size_t equals = std::min(field.find('='), field.size());
    const std::string_view value = field.substr(std::min(equals + 1, field.size()));
    fields.emplace(decoded(field.substr(0, equals)), decoded(value));
    begin = end + 1;
  }
  return fields;
}

}  // namespace pell::localserver
