#pragma once

#include <filesystem>
#include <string>

#include "app/CommandLine.h"
#include "async/Time.h"

namespace pell {

/// Each does its command and gives the process's exit code.
int runDictate(const DictateCommand& command);
int runSignIn(const SignInCommand& command);
int runSignOut(const SignOutCommand& command);
int runAccount(const AccountCommand& command);
int runHistory(const HistoryCommand& command);
int runHistoryExport(const HistoryExportCommand& command);

/// A moment by the user's clock, as "2026-03-01 09:41".
std::string localTime(Date date);

/// The socket of the running application.
std::filesystem::path controlSocket();

}  // namespace pell
