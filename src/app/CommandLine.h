// What the user asked for on the command line.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "app/HistoryExport.h"
#include "app/NoteFiles.h"

namespace pell {

/// Start the application, or bring the running one forward.
struct RunCommand {
  bool hidden = false;  // start in the tray, without the window
  bool operator==(const RunCommand&) const = default;
};

enum class DictateAction { begin, finish, toggle, cancel };

/// Steer the running application.
struct DictateCommand {
  DictateAction action = DictateAction::toggle;
  bool operator==(const DictateCommand&) const = default;
};

/// Register or sign in; the password comes from the terminal or from standard input.
struct SignInCommand {
  std::string email;
  bool registering = false;
  bool operator==(const SignInCommand&) const = default;
};

struct SignOutCommand {
  bool operator==(const SignOutCommand&) const = default;
};

struct HistoryCommand {
  std::string search;
  int limit = 20;
  bool json = false;
  bool operator==(const HistoryCommand&) const = default;
};

/// Write the whole history to standard output.
struct HistoryExportCommand {
  ExportFormat format = ExportFormat::json;
  bool operator==(const HistoryExportCommand&) const = default;
};

struct NotesListCommand {
  bool json = false;
  bool operator==(const NotesListCommand&) const = default;
};

/// Print the text of one note.
struct NotesShowCommand {
  std::string id;
  bool operator==(const NotesShowCommand&) const = default;
};

/// Write one note to standard output, or all of them, which is when `id` is absent, to files.
struct NotesExportCommand {
  std::optional<std::string> id;
  NoteFormat format = NoteFormat::rtf;
  bool operator==(const NotesExportCommand&) const = default;
};

struct NotesImportCommand {
  std::vector<std::string> files;
  bool operator==(const NotesImportCommand&) const = default;
};

/// Print what the account has on the server.
enum class AccountPage { account, styles, usage, badges };
struct AccountCommand {
  AccountPage page = AccountPage::account;
  bool json = false;
  bool operator==(const AccountCommand&) const = default;
};

/// Print `text` on standard output and leave with 0.
struct PrintCommand {
  std::string text;
  bool operator==(const PrintCommand&) const = default;
};

/// The line could not be understood: a sentence for standard error; exit code 2.
struct UsageError {
  std::string message;
  bool operator==(const UsageError&) const = default;
};

using Command = std::variant<RunCommand, DictateCommand, SignInCommand, SignOutCommand, HistoryCommand,
                             HistoryExportCommand, NotesListCommand, NotesShowCommand, NotesExportCommand,
                             NotesImportCommand, AccountCommand, PrintCommand, UsageError>;

/// `arguments` without the program's name.
Command parseCommandLine(std::span<const std::string> arguments, std::string_view version);

/// The word of an action on the command line and on the control socket.
std::string_view word(DictateAction action);
std::optional<DictateAction> dictateAction(std::string_view word);

/// The same of a page.
std::string_view word(AccountPage page);
std::optional<AccountPage> accountPage(std::string_view word);

}  // namespace pell
