#include "localserver/Arguments.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace pell::localserver {

std::optional<std::string> Arguments::option(const std::string& name) const {
  const auto found = options.find(name);
  return found == options.end() ? std::nullopt : std::optional(found->second);
}

Arguments takeApart(std::span<const std::string> arguments, std::span<const std::string_view> names) {
  Arguments result;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (!argument.starts_with('-')) {
      result.others.push_back(argument);
      continue;
    }
    const auto equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      throw Malformed{fmt::format("There is no option \"{}\".", name)};
    }
    if (equals == std::string::npos && i + 1 == arguments.size()) {
      throw Malformed{fmt::format("{} needs a value.", name)};
    }
    const std::string text = equals == std::string::npos ? arguments[++i] : argument.substr(equals + 1);
    if (text.empty()) throw Malformed{fmt::format("{} needs a value.", name)};
    if (!result.options.emplace(name, text).second) throw Malformed{fmt::format("{} is given twice.", name)};
  }
  return result;
}

std::int64_t numberIn(const std::string& name, const std::string& text,
                      std::pair<std::int64_t, std::int64_t> range) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || value < range.first || value > range.second) {
    throw Malformed{fmt::format("{} takes a whole number from {} to {}, not \"{}\".", name, range.first,
                                range.second, text)};
  }
  return value;
}

bool isOn(const std::string& name, const std::string& text) {
  if (text != "on" && text != "off") {
    throw Malformed{fmt::format("{} takes \"on\" or \"off\", not \"{}\".", name, text)};
  }
  return text == "on";
}

std::filesystem::path dataDirectory(const Arguments& arguments, const Environment& environment) {
  if (const auto told = arguments.option("--data")) return *told;
  const auto data = environment("XDG_DATA_HOME");
  if (data && data->starts_with('/')) return std::filesystem::path(*data) / "pell-server";
  const auto home = environment("HOME");
  if (home && home->starts_with('/')) return std::filesystem::path(*home) / ".local/share/pell-server";
  throw Malformed{"There is no home directory to keep the data in; name a place with --data."};
}

}  // namespace pell::localserver
