#include "localserver/Options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <map>
#include <string_view>
#include <utility>

namespace pell::localserver {
namespace {

constexpr std::array<std::string_view, 8> valued = {
    "--listen",
    "--data",
    "--minutes-per-month",
    "--auth-attempts-per-minute",
    "--transcribe-url",
    "--transcribe-model",
    "--transcribe-command",
    "--transcribe-key-file",
};

// More minutes than the longest month has; "no limit" in all but name, and no sum of seconds overflows.
constexpr std::int64_t mostMinutes = 44'640;

struct Malformed {
  std::string message;
};

template <class Number>
Number number(const std::string& name, const std::string& text, std::pair<Number, Number> range) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || value < range.first || value > range.second) {
    throw Malformed{fmt::format("{} takes a whole number from {} to {}, not \"{}\".", name, range.first,
                                range.second, text)};
  }
  return value;
}

void readListen(const std::string& text, Options& options) {
  const auto colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0) {
    throw Malformed{fmt::format("--listen takes ADDRESS:PORT, as 127.0.0.1:8787, not \"{}\".", text)};
  }
  std::string host = text.substr(0, colon);
  const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) host = host.substr(1, host.size() - 2);
  if (!bracketed && host.find(':') != std::string::npos) {
    throw Malformed{fmt::format("An IPv6 address stands in brackets, as [::1]:8787, not \"{}\".", text)};
  }
  options.host = host;
  options.port = number<std::uint16_t>("The port of --listen", text.substr(colon + 1), {0, 65535});
}

std::filesystem::path defaultData(const Environment& environment) {
  const auto data = environment("XDG_DATA_HOME");
  if (data && data->starts_with('/')) return std::filesystem::path(*data) / "pell-server";
  const auto home = environment("HOME");
  if (home && home->starts_with('/')) return std::filesystem::path(*home) / ".local/share/pell-server";
  throw Malformed{"There is no home directory to keep the data in; name a place with --data."};
}

RecogniserChoice recogniserOf(const std::map<std::string, std::string>& values) {
  const auto value = [&](const char* name) -> std::optional<std::string> {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional(found->second);
  };
  const auto command = value("--transcribe-command");
  const auto url = value("--transcribe-url");
  const auto model = value("--transcribe-model");
  const auto keyFile = value("--transcribe-key-file");
  if (command && url) throw Malformed{"--transcribe-command and --transcribe-url exclude each other."};
  if (!url && (model || keyFile)) {
    throw Malformed{"--transcribe-model and --transcribe-key-file go with --transcribe-url."};
  }
  if (command) return RecogniserCommand{*command};
  if (!url) return BuiltInRecogniser{};
  if (!url->starts_with("http://") && !url->starts_with("https://")) {
    throw Malformed{fmt::format("--transcribe-url takes an http or https address, not \"{}\".", *url)};
  }
  if (!model) throw Malformed{"--transcribe-url needs --transcribe-model."};
  return RecogniserAddress{.url = *url, .model = *model, .keyFile = keyFile};
}

/// Pairs of name and value; the two options without a value are answered by the caller.
std::map<std::string, std::string> collect(std::span<const std::string> arguments) {
  std::map<std::string, std::string> values;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    if (std::find(valued.begin(), valued.end(), name) == valued.end()) {
      throw Malformed{fmt::format("There is no option \"{}\".", name)};
    }
    if (equals == std::string::npos && i + 1 == arguments.size()) {
      throw Malformed{fmt::format("{} needs a value.", name)};
    }
    const std::string text = equals == std::string::npos ? arguments[++i] : argument.substr(equals + 1);
    if (text.empty()) throw Malformed{fmt::format("{} needs a value.", name)};
    if (!values.emplace(name, text).second) throw Malformed{fmt::format("{} is given twice.", name)};
  }
  return values;
}

Options optionsFrom(const std::map<std::string, std::string>& values, const Environment& environment) {
  Options options;
  options.recogniser = recogniserOf(values);
  for (const auto& [name, text] : values) {
    if (name == "--listen") readListen(text, options);
    if (name == "--data") options.data = text;
    if (name == "--minutes-per-month") {
      options.minutesPerMonth = number<std::int64_t>(name, text, {1, mostMinutes});
    }
    if (name == "--auth-attempts-per-minute") {
      options.authAttemptsPerMinute = number<int>(name, text, {0, 1'000'000});
    }
  }
  if (options.data.empty()) options.data = defaultData(environment);
  return options;
}

}  // namespace

ParsedCommandLine parseCommandLine(std::span<const std::string> arguments, const Environment& environment) {
  for (const std::string& argument : arguments) {
    if (argument == "--help" || argument == "-h") return HelpWanted{};
    if (argument == "--version") return VersionWanted{};
  }
  try {
    return optionsFrom(collect(arguments), environment);
  } catch (const Malformed& malformed) {
    return UsageError{malformed.message};
  }
}

std::string helpText() {
  return R"(pell-server: accounts and transcription for Pell, on a machine of your own

Usage: pell-server [OPTION]...

  --listen ADDRESS:PORT          where to listen; 127.0.0.1:8787 unless told otherwise
  --data DIR                     where to keep the database; $XDG_DATA_HOME/pell-server
                                 unless told otherwise
  --minutes-per-month N          dictation that each account may use in a calendar month
                                 (UTC), 1 to 44640; 6000 unless told otherwise
  --auth-attempts-per-minute N   sign-ins and registrations per client address; 60 unless
                                 told otherwise, 0 for no limit

Speech is recognised by the built-in English recogniser, or by one of these:

  --transcribe-command CMD       a shell command: a WAV file (16 kHz, mono) comes on its
                                 standard input, the text is taken from its standard output
  --transcribe-url URL           an OpenAI-compatible address, as
                                 http://127.0.0.1:8000/v1/audio/transcriptions
  --transcribe-model NAME        the model that it is asked for
  --transcribe-key-file FILE     a file with the key that it is given

  --help                         this text
  --version                      the version
)";
}

}  // namespace pell::localserver
