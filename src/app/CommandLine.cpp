#include "app/CommandLine.h"

#include <array>
#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <utility>

namespace pell {
namespace {

using Arguments = std::span<const std::string>;

constexpr std::string_view usage =
    R"(Pell: hold a key, speak, and the words appear where you type.

Usage:
  pell [--hidden]              start Pell, or bring the running one forward
                               (--hidden: in the tray, without its window)
  pell register EMAIL          create an account and sign in
  pell sign-in EMAIL           sign in
  pell sign-out                sign out
  pell dictate ACTION          steer the running Pell: begin, finish, toggle or cancel
  pell history [--search TEXT] [--limit N] [--json]
                               print the newest dictations kept on this computer
  pell history export --format json|csv
                               write out all of them
  pell notes list [--json]     print the ids and titles of the notes kept on this computer
  pell notes show ID           print the text of a note
  pell notes export ID [--format rtf|txt|md]
                               write a note to standard output; as RTF unless told otherwise
  pell notes export --all [--format rtf|txt|md]
                               write each note to a new file in the current folder, named after
                               its title; no file is overwritten
  pell notes import FILE...    make a note of each file, RTF or text, and print the new ids
  pell account | styles | usage | badges [--json]
                               print what the server has of your account
  pell --help | --version

The password is asked for on the terminal; where standard input is no terminal,
its first line is taken.

Exit codes: 0 done, 1 failed, 2 the command line was not understood.
)";

constexpr std::array<std::pair<DictateAction, std::string_view>, 4> actions{{
    {DictateAction::begin, "begin"},
    {DictateAction::finish, "finish"},
    {DictateAction::toggle, "toggle"},
    {DictateAction::cancel, "cancel"},
}};

constexpr std::array<std::pair<AccountPage, std::string_view>, 4> pages{{
    {AccountPage::account, "account"},
    {AccountPage::styles, "styles"},
    {AccountPage::usage, "usage"},
    {AccountPage::badges, "badges"},
}};

constexpr std::array<std::pair<NoteFormat, std::string_view>, 3> noteFormats{
    {{NoteFormat::rtf, "rtf"}, {NoteFormat::text, "txt"}, {NoteFormat::markdown, "md"}}};

template <class Value, std::size_t count>
std::string_view wordOf(const std::array<std::pair<Value, std::string_view>, count>& table, Value wanted) {
  for (const auto& [value, text] : table) {
    if (value == wanted) return text;
  }
  return "";
}

template <class Value, std::size_t count>
std::optional<Value> valueOf(const std::array<std::pair<Value, std::string_view>, count>& table,
                             std::string_view wanted) {
  for (const auto& [value, text] : table) {
    if (text == wanted) return value;
  }
  return std::nullopt;
}

UsageError unknown(std::string_view argument) { return {fmt::format("unknown argument '{}'", argument)}; }

Command parseDictate(Arguments rest) {
  if (rest.size() != 1) return UsageError{"dictate takes one of begin, finish, toggle, cancel"};
  auto action = dictateAction(rest[0]);
  if (!action) return UsageError{fmt::format("'{}' is not one of begin, finish, toggle, cancel", rest[0])};
  return DictateCommand{*action};
}

Command parseSignIn(Arguments rest, bool registering) {
  std::string_view name = registering ? "register" : "sign-in";
  if (rest.empty()) return UsageError{fmt::format("{} takes an e-mail address", name)};
  if (rest.size() > 1) {
    return UsageError{
        fmt::format("{} takes an e-mail address and nothing else; the password is asked for", name)};
  }
  if (rest[0].starts_with("-") || rest[0].find('@') == std::string::npos) {
    return UsageError{fmt::format("'{}' is no e-mail address", rest[0])};
  }
  return SignInCommand{.email = rest[0], .registering = registering};
}

constexpr int mostRows = std::numeric_limits<int>::max();

std::optional<int> parseLimit(std::string_view text) {
  int value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 1) return std::nullopt;
  return value;
}

Command parseExport(Arguments rest) {
  if (rest.size() != 2 || rest[0] != "--format")
    return UsageError{"history export takes --format json or --format csv"};
  if (rest[1] == "json") return HistoryExportCommand{ExportFormat::json};
  if (rest[1] == "csv") return HistoryExportCommand{ExportFormat::csv};
  return UsageError{fmt::format("'{}' is neither json nor csv", rest[1])};
}

UsageError notesUsage() { return UsageError{"notes takes one of list, show, export, import"}; }

Command parseNotesExport(Arguments rest) {
  NotesExportCommand command;
  bool hasTarget = false;
  for (std::size_t i = 0; i < rest.size(); ++i) {
    const std::string& word = rest[i];
    if (word == "--format") {
      if (++i == rest.size()) return UsageError{"--format needs a value"};
      auto format = valueOf(noteFormats, rest[i]);
      if (!format) return UsageError{fmt::format("'{}' is none of rtf, txt, md", rest[i])};
      command.format = *format;
      continue;
    }
    if (hasTarget || (word.starts_with("-") && word != "--all")) return unknown(word);
    hasTarget = true;
    if (word != "--all") command.id = word;
  }
  if (!hasTarget) return UsageError{"notes export takes the id of a note, or --all"};
  return command;
}

Command parseNotes(Arguments rest) {
  if (rest.empty()) return notesUsage();
  const std::string& action = rest[0];
  rest = rest.subspan(1);
  if (action == "export") return parseNotesExport(rest);
  if (action == "import") {
    if (rest.empty()) return UsageError{"notes import takes files"};
    return NotesImportCommand{{rest.begin(), rest.end()}};
  }
  if (action == "show") {
    if (rest.size() != 1) return UsageError{"notes show takes the id of a note"};
    return NotesShowCommand{rest[0]};
  }
  if (action != "list") return notesUsage();
  if (rest.empty()) return NotesListCommand{};
  if (rest[0] != "--json") return unknown(rest[0]);
  if (rest.size() > 1) return unknown(rest[1]);
  return NotesListCommand{.json = true};
}

Command parseAccount(AccountPage page, Arguments rest) {
  if (rest.empty()) return AccountCommand{.page = page};
  if (rest[0] != "--json") return unknown(rest[0]);
  if (rest.size() > 1) return unknown(rest[1]);
  return AccountCommand{.page = page, .json = true};
}

Command parseHistory(Arguments rest) {
  if (!rest.empty() && rest[0] == "export") return parseExport(rest.subspan(1));
  HistoryCommand command;
  for (std::size_t i = 0; i < rest.size(); ++i) {
    const std::string& option = rest[i];
    if (option == "--json") {
      command.json = true;
      continue;
    }
    if (option != "--search" && option != "--limit") return unknown(option);
    if (++i == rest.size()) return UsageError{fmt::format("{} needs a value", option)};
    if (option == "--search") {
      command.search = rest[i];
      continue;
    }
    auto limit = parseLimit(rest[i]);
    if (!limit) return UsageError{fmt::format("'{}' is no whole number from 1 to {}", rest[i], mostRows)};
    command.limit = *limit;
  }
  return command;
}

}  // namespace

Command parseCommandLine(Arguments arguments, std::string_view version) {
  if (arguments.empty()) return RunCommand{};
  const std::string& first = arguments[0];
  Arguments rest = arguments.subspan(1);
  if (first == "dictate") return parseDictate(rest);
  if (first == "register" || first == "sign-in") return parseSignIn(rest, first == "register");
  if (first == "history") return parseHistory(rest);
  if (first == "notes") return parseNotes(rest);
  if (auto page = accountPage(first)) return parseAccount(*page, rest);
  if (!rest.empty()) return unknown(rest[0]);
  if (first == "--hidden") return RunCommand{.hidden = true};
  if (first == "sign-out") return SignOutCommand{};
  if (first == "--help" || first == "-h") return PrintCommand{std::string(usage)};
  if (first == "--version") return PrintCommand{fmt::format("pell {}\n", version)};
  return unknown(first);
}

std::string_view word(DictateAction action) { return wordOf(actions, action); }
std::optional<DictateAction> dictateAction(std::string_view text) { return valueOf(actions, text); }

std::string_view word(AccountPage page) { return wordOf(pages, page); }
std::optional<AccountPage> accountPage(std::string_view text) { return valueOf(pages, text); }

}  // namespace pell
