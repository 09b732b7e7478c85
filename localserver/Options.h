#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <variant>

namespace pell::localserver {

/// The built-in recogniser.
struct BuiltInRecogniser {
  friend bool operator==(const BuiltInRecogniser&, const BuiltInRecogniser&) = default;
};

struct RecogniserCommand {
  std::string command;
  friend bool operator==(const RecogniserCommand&, const RecogniserCommand&) = default;
};

struct RecogniserAddress {
  std::string url;
  std::string model;
  std::optional<std::filesystem::path> keyFile;
  friend bool operator==(const RecogniserAddress&, const RecogniserAddress&) = default;
};

using RecogniserChoice = std::variant<BuiltInRecogniser, RecogniserCommand, RecogniserAddress>;

/// What the command line asked for.
struct Options {
  std::string host = "127.0.0.1";
  std::uint16_t port = 8787;
  std::filesystem::path data;
  std::int64_t minutesPerMonth = 6000;
  /// Per client address; 0 for no limit.
  int authAttemptsPerMinute = 60;
  RecogniserChoice recogniser;

  friend bool operator==(const Options&, const Options&) = default;
};

struct HelpWanted {};
struct VersionWanted {};
/// A command line that cannot be followed, with the sentence that says why.
struct UsageError {
  std::string message;
};

using ParsedCommandLine = std::variant<Options, HelpWanted, VersionWanted, UsageError>;

/// Gives the value of an environment variable.
using Environment = std::function<std::optional<std::string>(const std::string&)>;

/// `arguments` come without the program's name; "--name value" and "--name=value" are the same.
ParsedCommandLine parseCommandLine(std::span<const std::string> arguments, const Environment& environment);

/// The text of --help.
std::string helpText();

}  // namespace pell::localserver
