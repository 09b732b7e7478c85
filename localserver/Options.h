#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "localserver/Arguments.h"
#include "localserver/Plans.h"

namespace pell::localserver {

/// The built-in recogniser.
struct BuiltInRecogniser {
  friend bool operator==(const BuiltInRecogniser&, const BuiltInRecogniser&) = default;
};

struct RecogniserCommand {
  std::string command;
  friend bool operator==(const RecogniserCommand&, const RecogniserCommand&) = default;
};

/// A service that another program runs.
struct ServiceAddress {
  std::string url;
  std::string model;
  std::optional<std::filesystem::path> keyFile;
  friend bool operator==(const ServiceAddress&, const ServiceAddress&) = default;
};

using RecogniserChoice = std::variant<BuiltInRecogniser, RecogniserCommand, ServiceAddress>;

/// What the command line asked for.
struct Options {
  std::string host = "127.0.0.1";
  std::uint16_t port = 8787;
  std::filesystem::path data;
  std::int64_t minutesPerMonth = 6000;
  /// Besides the one that every account begins with.
  std::vector<Plan> morePlans;
  /// Per client address and kind; 0 for no limit.
  int authAttemptsPerMinute = 60;
  /// Where browsers reach this server, without a final slash; empty where that is the address it listens on.
  std::string publicUrl;
  std::string mailFrom = "pell-server@localhost";
  bool verifyEmail = true;
  bool behindProxy = false;
  RecogniserChoice recogniser;
  /// Absent: transcripts are cleaned by rules.
  std::optional<ServiceAddress> cleaner;

  friend bool operator==(const Options&, const Options&) = default;
};

struct HelpWanted {};
struct VersionWanted {};
/// A command line that cannot be followed, with the sentence that says why.
struct UsageError {
  std::string message;
};

using ParsedCommandLine = std::variant<Options, HelpWanted, VersionWanted, UsageError>;

/// `arguments` come without the program's name; "--name value" and "--name=value" are the same.
ParsedCommandLine parseCommandLine(std::span<const std::string> arguments, const Environment& environment);

/// The plans of a server with these options.
Plans plansOf(const Options& options);

/// The text of --help.
std::string helpText();

}  // namespace pell::localserver
