#include <cstdlib>
#include <ctime>
#include <fmt/format.h>
#include <signal.h>

#include "localserver/Commands.h"
#include "localserver/Server.h"
#include "localserver/ServerLog.h"

namespace {

using namespace pell::localserver;

constexpr int failed = 1;
constexpr int usage = 2;

std::optional<std::string> environmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value ? std::optional<std::string>(value) : std::nullopt;
}

/// The signals that end the server are waited for by the main thread, so every other thread must block them.
sigset_t blockEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&signals, number);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);
  return signals;
}

/// A public key, say, is told only once: what was asked for has to arrive.
int say(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
    return EXIT_SUCCESS;
  }
  fmt::print(stderr, "pell-server: the answer could not be written out\n");
  return failed;
}

int serve(const Options& options) {
  const sigset_t signals = blockEndingSignals();
  ServerLog log(stderr);
  const Server server({.options = options,
                       .log = log,
                       .now = [] { return std::time(nullptr); },
                       .socket = inheritedSocket(&environmentVariable)});
  for (const std::string& warning : server.warnings()) fmt::print(stderr, "Warning: {}\n", warning);
  fmt::print("pell-server listens on {}\n", server.url());
  std::fflush(stdout);
  int received = 0;
  sigwait(&signals, &received);
  return EXIT_SUCCESS;
}

int run(std::span<const std::string> arguments) {
  if (const auto said = runCommand(arguments, &environmentVariable, std::time(nullptr))) return say(*said);
  const ParsedCommandLine parsed = parseCommandLine(arguments, &environmentVariable);
  if (std::holds_alternative<HelpWanted>(parsed)) return say(helpText());
  if (std::holds_alternative<VersionWanted>(parsed))
    return say(fmt::format("pell-server {}\n", PELL_VERSION));
  if (const auto* error = std::get_if<UsageError>(&parsed)) throw Malformed{error->message};
  return serve(std::get<Options>(parsed));
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return run(std::vector<std::string>(arguments + 1, arguments + count));
  } catch (const Malformed& malformed) {
    fmt::print(stderr, "pell-server: {} See pell-server --help.\n", malformed.message);
    return usage;
  } catch (const std::exception& failure) {
    fmt::print(stderr, "pell-server: {}\n", failure.what());
    return failed;
  }
}
