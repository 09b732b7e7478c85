#include "server/AppVersion.h"

#include <charconv>
#include <system_error>

namespace pell {
namespace {

std::optional<std::int64_t> number(std::string_view digits) {
  if (digits.find_first_not_of("0123456789") != digits.npos) return std::nullopt;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return error == std::errc() ? std::optional(value) : std::nullopt;
}

}  // namespace

std::optional<AppVersion> AppVersion::parse(std::string_view text) {
  AppVersion version;
  for (std::int64_t* part : {&version.major, &version.minor, &version.patch}) {
    const std::size_t end = text.find('.');
    const auto value = number(text.substr(0, end));
    if (!value) return std::nullopt;
    *part = *value;
    if (end == text.npos) return version;
    text.remove_prefix(end + 1);
  }
  return std::nullopt;
}

}  // namespace pell
