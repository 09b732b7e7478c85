#include <cstdio>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "main/Application.h"
#include "main/Commands.h"
#include "main/NotesCommands.h"
#include "main/StandardStreams.h"
#include "platform/portable/BuildStamp.h"

namespace {

using namespace pell;

struct Runner {
  std::string name;

  int operator()(const RunCommand& command) const { return runApplication(name, command); }
  int operator()(const DictateCommand& command) const { return runDictate(command); }
  int operator()(const SignInCommand& command) const { return runSignIn(command); }
  int operator()(const SignOutCommand& command) const { return runSignOut(command); }
  int operator()(const HistoryCommand& command) const { return runHistory(command); }
  int operator()(const AccountCommand& command) const { return runAccount(command); }
  int operator()(const HistoryExportCommand& command) const { return runHistoryExport(command); }
  int operator()(const NotesListCommand& command) const { return runNotesList(command); }
  int operator()(const NotesShowCommand& command) const { return runNotesShow(command); }
  int operator()(const NotesExportCommand& command) const { return runNotesExport(command); }
  int operator()(const NotesImportCommand& command) const { return runNotesImport(command); }
  int operator()(const PrintCommand& command) const { return printOut(command.text); }
  int operator()(const UsageError& error) const {
    std::fprintf(stderr, "pell: %s\nTry 'pell --help'.\n", error.message.c_str());
    return 2;
  }
};

}  // namespace

int main(int argc, char** argv) {
  occupyClosedStreams();
  std::vector<std::string> arguments(argv + 1, argv + argc);
  return std::visit(Runner{argv[0]},
                    parseCommandLine(arguments, stampedBuildInfo().shortVersion.value_or("0.0.0")));
}
