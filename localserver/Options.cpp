#include "localserver/Options.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <string_view>
#include <utility>

#include "localserver/Accounts.h"

namespace pell::localserver {
namespace {

constexpr std::array<std::string_view, 16> valued = {
    "--listen",
    "--data",
    "--minutes-per-month",
    "--plans",
    "--auth-attempts-per-minute",
    "--public-url",
    "--mail-from",
    "--verify-email",
    "--behind-proxy",
    "--transcribe-url",
    "--transcribe-model",
    "--transcribe-command",
    "--transcribe-key-file",
    "--clean-url",
    "--clean-model",
    "--clean-key-file",
};

// More minutes than the longest month has; "no limit" in all but name, and no sum of seconds overflows.
constexpr std::int64_t mostMinutes = 44'640;

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
  options.port =
      static_cast<std::uint16_t>(numberIn("The port of --listen", text.substr(colon + 1), {0, 65535}));
}

/// "ID:NAME:MINUTES,..."
std::vector<Plan> readPlans(const std::string& text) {
  std::vector<Plan> plans;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(',', begin), text.size());
    const std::string item = text.substr(begin, end - begin);
    const auto first = item.find(':');
    const auto last = item.rfind(':');
    if (first == std::string::npos || first == 0 || last <= first + 1) {
      throw Malformed{
          fmt::format("--plans takes ID:NAME:MINUTES, several with commas between, not \"{}\".", item)};
    }
    plans.push_back(
        {.id = item.substr(0, first),
         .displayName = item.substr(first + 1, last - first - 1),
         .minutesPerMonth = numberIn("A plan of --plans", item.substr(last + 1), {1, mostMinutes})});
    begin = end + 1;
  }
  return plans;
}

std::string readUrl(const std::string& name, std::string text) {
  if (!text.starts_with("http://") && !text.starts_with("https://")) {
    throw Malformed{fmt::format("{} takes an http or https address, not \"{}\".", name, text)};
  }
  while (text.ends_with('/')) text.pop_back();
  return text;
}

std::string readSender(const std::string& text) {
  if (normalizedEmail(text).empty()) {
    throw Malformed{fmt::format("--mail-from takes an email address, not \"{}\".", text)};
  }
  return text;
}

/// What "--PURPOSE-url", "--PURPOSE-model" and "--PURPOSE-key-file" say.
std::optional<ServiceAddress> serviceOf(const Arguments& arguments, const std::string& purpose) {
  const std::string name = "--" + purpose + "-url";
  const auto url = arguments.option(name);
  const auto model = arguments.option("--" + purpose + "-model");
  const auto keyFile = arguments.option("--" + purpose + "-key-file");
  if (!url && (model || keyFile)) {
    throw Malformed{fmt::format("--{0}-model and --{0}-key-file go with --{0}-url.", purpose)};
  }
  if (!url) return std::nullopt;
  if (!model) throw Malformed{fmt::format("{} needs --{}-model.", name, purpose)};
  return ServiceAddress{.url = readUrl(name, *url), .model = *model, .keyFile = keyFile};
}

RecogniserChoice recogniserOf(const Arguments& arguments) {
  const auto command = arguments.option("--transcribe-command");
  if (command && arguments.option("--transcribe-url")) {
    throw Malformed{"--transcribe-command and --transcribe-url exclude each other."};
  }
  const auto service = serviceOf(arguments, "transcribe");
  if (command) return RecogniserCommand{*command};
  if (service) return *service;
  return BuiltInRecogniser{};
}

Options optionsFrom(const Arguments& arguments, const Environment& environment) {
  if (!arguments.others.empty()) {
    throw Malformed{fmt::format("There is no command \"{}\".", arguments.others.front())};
  }
  Options options;
  options.data = dataDirectory(arguments, environment);
  options.recogniser = recogniserOf(arguments);
  options.cleaner = serviceOf(arguments, "clean");
  for (const auto& [name, text] : arguments.options) {
    if (name == "--listen") readListen(text, options);
    if (name == "--minutes-per-month") options.minutesPerMonth = numberIn(name, text, {1, mostMinutes});
    if (name == "--plans") options.morePlans = readPlans(text);
    if (name == "--auth-attempts-per-minute") {
      options.authAttemptsPerMinute = static_cast<int>(numberIn(name, text, {0, 1'000'000}));
    }
    if (name == "--public-url") options.publicUrl = readUrl(name, text);
    if (name == "--mail-from") options.mailFrom = readSender(text);
    if (name == "--verify-email") options.verifyEmail = isOn(name, text);
    if (name == "--behind-proxy") options.behindProxy = isOn(name, text);
  }
  return options;
}

}  // namespace

ParsedCommandLine parseCommandLine(std::span<const std::string> arguments, const Environment& environment) {
  for (const std::string& argument : arguments) {
    if (argument == "--help" || argument == "-h") return HelpWanted{};
    if (argument == "--version") return VersionWanted{};
  }
  try {
    return optionsFrom(takeApart(arguments, valued), environment);
  } catch (const Malformed& malformed) {
    return UsageError{malformed.message};
  }
}

Plans plansOf(const Options& options) {
  Plans plans = {
      {.id = "self-hosted", .displayName = "Self-hosted", .minutesPerMonth = options.minutesPerMonth}};
  plans.insert(plans.end(), options.morePlans.begin(), options.morePlans.end());
  return plans;
}

std::string helpText() {
  return R"(pell-server: accounts and transcription for Pell, on a machine of your own

Usage: pell-server [OPTION]...
       pell-server COMMAND

  --listen ADDRESS:PORT          where to listen; 127.0.0.1:8787 unless told otherwise
  --data DIR                     where to keep the database; $XDG_DATA_HOME/pell-server
                                 unless told otherwise
  --minutes-per-month N          dictation that each account may use in a calendar month
                                 (UTC), 1 to 44640; 6000 unless told otherwise
  --plans ID:NAME:MINUTES,...    other plans, which accounts get by the command "plan"
  --auth-attempts-per-minute N   sign-ins per client address, and as many registrations,
                                 refreshes and password resets; 60 unless told otherwise,
                                 0 for no limit
  --behind-proxy on              clients come by way of a proxy that tells their addresses
                                 in X-Forwarded-For

Letters with links are put into the folder "outbox" below the data, for a mail program:

  --public-url URL               where browsers reach this server; the address that it
                                 listens on unless told otherwise
  --mail-from ADDRESS            the sender; pell-server@localhost unless told otherwise
  --verify-email off             new users need not confirm their address

Speech is recognised by the built-in English recogniser, or by one of these:

  --transcribe-command CMD       a shell command: a WAV file (16 kHz, mono) comes on its
                                 standard input, the text is taken from its standard output
  --transcribe-url URL           an OpenAI-compatible address, as
                                 http://127.0.0.1:8000/v1/audio/transcriptions
  --transcribe-model NAME        the model that it is asked for
  --transcribe-key-file FILE     a file with the key that it is given

Transcripts are cleaned by rules, in the style of each dictation, or by a language model:

  --clean-url URL                an OpenAI-compatible address, as
                                 http://127.0.0.1:8000/v1/chat/completions
  --clean-model NAME             the model that it is asked for
  --clean-key-file FILE          a file with the key that it is given

Commands:

  keygen FILE                    makes a key that signs configurations
  config sign DOCUMENT --key FILE [--data DIR]
                                 signs a document for the application and publishes it
  plan EMAIL PLAN [--data DIR]   puts an account on another plan

  --help                         this text
  --version                      the version
)";
}

}  // namespace pell::localserver
