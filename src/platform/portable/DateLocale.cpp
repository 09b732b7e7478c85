#include "platform/portable/DateLocale.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace pell {
namespace {

constexpr const char* plainEnglish = "en_US_POSIX";

/// The C library tells a script by a word behind the name; ICU has it inside the name.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> scripts{
    {{"latin", "_Latn"}, {"cyrillic", "_Cyrl"}, {"devanagari", "_Deva"}}};

/// language[_TERRITORY][.encoding][@modifier]
std::string nameForIcu(std::string_view name) {
  const std::string_view base = name.substr(0, name.find_first_of(".@"));
  if (base.empty() || base == "C" || base == "POSIX") return plainEnglish;
  const std::size_t sign = name.find('@');
  const std::string_view modifier = sign == name.npos ? "" : name.substr(sign + 1);
  std::string result(base);
  for (const auto& [word, script] : scripts) {
    if (modifier == word) result.insert(std::min(result.find('_'), result.size()), script);
  }
  return result;
}

}  // namespace

std::string localeOfDates(const std::function<std::optional<std::string>(const char*)>& environment) {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    if (const auto name = environment(variable); name && !name->empty()) return nameForIcu(*name);
  }
  return plainEnglish;
}

std::string localeOfDates() {
  return localeOfDates([](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  });
}

}  // namespace pell
