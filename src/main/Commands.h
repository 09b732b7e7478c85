#pragma once

#include <filesystem>

#include "app/CommandLine.h"

namespace pell {

/// Each does its command and gives the process's exit code.
int runDictate(const DictateCommand& command);
int runSignIn(const SignInCommand& command);
int runSignOut(const SignOutCommand& command);
int runAccount(const AccountCommand& command);
int runHistory(const HistoryCommand& command);
int runHistoryExport(const HistoryExportCommand& command);

/// The socket of the running application.
std::filesystem::path controlSocket();

}  // namespace pell
