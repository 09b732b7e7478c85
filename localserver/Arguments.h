// Command lines, before anybody knows what they mean.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pell::localserver {

/// Thrown where a command line cannot be followed, with the sentence that says why.
struct Malformed {
  std::string message;
};

/// Gives the value of an environment variable.
using Environment = std::function<std::optional<std::string>(const std::string&)>;

/// A command line taken apart.
struct Arguments {
  std::map<std::string, std::string> options;
  std::vector<std::string> others;

  std::optional<std::string> option(const std::string& name) const;
};

/// "--name value" and "--name=value" are the same; `names` are the options there are, all with a value.
/// Throws Malformed.
Arguments takeApart(std::span<const std::string> arguments, std::span<const std::string_view> names);

/// A whole number within `range`. Throws Malformed.
std::int64_t numberIn(const std::string& name, const std::string& text,
                      std::pair<std::int64_t, std::int64_t> range);
/// "on" or "off". Throws Malformed.
bool isOn(const std::string& name, const std::string& text);

/// Where the data is: what --data says, or the usual place. Throws Malformed where there is neither.
std::filesystem::path dataDirectory(const Arguments& arguments, const Environment& environment);

}  // namespace pell::localserver
