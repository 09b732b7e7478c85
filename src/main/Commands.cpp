#include "main/Commands.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>

#include "app/HistoryExport.h"
#include "app/HistoryListing.h"
#include "main/AccountQuery.h"
#include "main/ControlClient.h"
#include "main/Essentials.h"
#include "main/InstanceLock.h"
#include "main/KeptData.h"
#include "main/Password.h"
#include "main/SessionCommand.h"
#include "main/StandardStreams.h"
#include "stores/DictationsRepository.h"

namespace pell {
namespace {

// Longer than the longest exchange with the server, which ends by itself after three minutes.
constexpr Seconds sessionLimit{200};
constexpr Seconds dictateLimit{5};

int report(const ControlReply& reply) {
  const std::string line = reply.message.empty() ? "" : reply.message + "\n";
  if (reply.ok) return printOut(line);
  std::fputs(line.c_str(), stderr);
  return 1;
}

/// Through the running instance; `here` where there is none.
int runWithServer(const ControlRequest& request, ControlReply (*here)(const ControlRequest&)) {
  auto socket = controlSocket();
  if (!isInstanceRunning(socket)) return report(here(request));
  auto reply = askRunningInstance(socket, request, sessionLimit);
  return reply ? report(*reply) : failWith("the running Pell did not answer");
}

bool put(const std::string& text) { return std::fwrite(text.data(), 1, text.size(), stdout) == text.size(); }

/// Calls `print` with the history, or with nothing where none was ever kept. `whole`: a damaged file is told,
/// as it would not give everything. Gives the exit code.
int readHistory(bool whole, const std::function<bool(DictationsRepository* history)>& print) {
  Essentials essentials;
  auto file = essentials.config().databaseURL();
  bool written = false;
  int code = 0;
  try {
    if (isAnythingKept(file)) {
      Database database(file);
      DictationsRepository history(database, essentials.clock());
      written = print(&history);
      if (whole) code = tellDamage(database, file);
    } else {
      written = print(nullptr);
    }
  } catch (const Database::Failure& failure) {
    return failWith(file.string() + ": " + failure.message());
  }
  return written ? std::max(code, printOut("")) : failWith("the history could not be written out");
}

}  // namespace

std::string localTime(Date date) {
  auto seconds = static_cast<std::time_t>(secondsSince1970(date));
  std::tm parts{};
  ::localtime_r(&seconds, &parts);
  char text[64];
  return {text, std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M", &parts)};
}

std::filesystem::path controlSocket() {
  auto folder = runtimeFolder();
  return folder.empty() ? folder : folder / "control";
}

int runDictate(const DictateCommand& command) {
  ControlRequest request{.command = "dictate", .argument = std::string(word(command.action))};
  auto reply = askRunningInstance(controlSocket(), request, dictateLimit);
  return reply ? report(*reply) : failWith("Pell is not running; start it with 'pell'");
}

int runSignIn(const SignInCommand& command) {
  auto reading = readPassword(command.registering ? PasswordUse::chosen : PasswordUse::known);
  if (auto* missing = std::get_if<NoPassword>(&reading)) return failWith(missing->reason);
  auto request = controlRequest(command, std::move(std::get<std::string>(reading)));
  return runWithServer(request, changeSessionHere);
}

int runSignOut(const SignOutCommand& command) {
  return runWithServer(controlRequest(command), changeSessionHere);
}

int runAccount(const AccountCommand& command) {
  return runWithServer(controlRequest(command), answerAboutAccountHere);
}

int runHistory(const HistoryCommand& command) {
  return readHistory(false, [&](DictationsRepository* history) {
    std::vector<DictationRecord> records;
    if (history) records = history->search(command.search, command.limit);
    return put(command.json ? historyJson(records) : historyText(records, localTime));
  });
}

int runHistoryExport(const HistoryExportCommand& command) {
  return readHistory(true, [&](DictationsRepository* history) {
    HistoryExport file(command.format);
    bool written = put(file.begin());
    if (history) {
      history->forEach([&](const DictationRecord& record) { written = written && put(file.record(record)); });
    }
    return written && put(file.end());
  });
}

}  // namespace pell
