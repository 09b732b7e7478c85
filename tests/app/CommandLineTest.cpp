#include <gtest/gtest.h>
#include <vector>

#include "app/CommandLine.h"

namespace pell {
namespace {

Command parse(std::vector<std::string> arguments) { return parseCommandLine(arguments, "1.2.3"); }

TEST(CommandLineTest, UnderstandsEveryCommand) {
  EXPECT_EQ(parse({}), Command(RunCommand{}));
  EXPECT_EQ(parse({"--hidden"}), Command(RunCommand{.hidden = true}));
  EXPECT_EQ(parse({"dictate", "finish"}), Command(DictateCommand{DictateAction::finish}));
  EXPECT_EQ(parse({"register", "a@b.c"}), Command(SignInCommand{.email = "a@b.c", .registering = true}));
  EXPECT_EQ(parse({"sign-in", "a@b.c"}), Command(SignInCommand{.email = "a@b.c"}));
  EXPECT_EQ(parse({"sign-out"}), Command(SignOutCommand{}));
  EXPECT_EQ(parse({"history", "--search", "--json", "--limit", "7"}),
            Command(HistoryCommand{.search = "--json", .limit = 7}));
  EXPECT_EQ(parse({"history", "export", "--format", "csv"}),
            Command(HistoryExportCommand{ExportFormat::csv}));
  EXPECT_EQ(parse({"notes", "list", "--json"}), Command(NotesListCommand{.json = true}));
  EXPECT_EQ(parse({"notes", "show", "A"}), Command(NotesShowCommand{"A"}));
  EXPECT_EQ(parse({"notes", "export", "A"}), Command(NotesExportCommand{.id = "A"}));
  EXPECT_EQ(parse({"notes", "export", "--format", "md", "--all"}),
            Command(NotesExportCommand{.format = NoteFormat::markdown}));
  EXPECT_EQ(parse({"notes", "import", "a", "-b"}), Command(NotesImportCommand{{"a", "-b"}}));
  EXPECT_EQ(parse({"badges", "--json"}), Command(AccountCommand{.page = AccountPage::badges, .json = true}));
  EXPECT_EQ(parse({"--version"}), Command(PrintCommand{"pell 1.2.3\n"}));
}

TEST(CommandLineTest, WrongLinesAreUsageErrorsThatNameTheCulprit) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"dance"}, "dance"},
      {{"dictate"}, "begin"},
      {{"dictate", "louder"}, "louder"},
      {{"sign-in"}, "e-mail"},
      {{"sign-in", "nobody"}, "nobody"},
      {{"sign-in", "a@b.c", "secret"}, "password"},
      {{"sign-out", "now"}, "now"},
      {{"history", "--limit"}, "--limit"},
      {{"history", "--limit", "0"}, "'0'"},
      {{"history", "--limit", "12x"}, "12x"},
      {{"history", "--limit", "2147483648"}, "to 2147483647"},
      {{"history", "--since"}, "--since"},
      {{"history", "export"}, "--format"},
      {{"history", "export", "--format", "xml"}, "xml"},
      {{"notes"}, "import"},
      {{"notes", "burn"}, "import"},
      {{"notes", "list", "all"}, "all"},
      {{"notes", "show"}, "id"},
      {{"notes", "export"}, "--all"},
      {{"notes", "export", "A", "--all"}, "--all"},
      {{"notes", "export", "-A"}, "-A"},
      {{"notes", "export", "A", "--format", "doc"}, "doc"},
      {{"notes", "import"}, "files"},
      {{"usage", "--jsn"}, "--jsn"},
      {{"--version", "extra"}, "extra"},
  };
  for (const auto& [arguments, culprit] : cases) {
    Command command = parse(arguments);
    auto* error = std::get_if<UsageError>(&command);
    ASSERT_TRUE(error) << arguments[0];
    EXPECT_NE(error->message.find(culprit), std::string::npos) << error->message;
  }
  // A password given by mistake is not repeated on the screen.
  Command command = parse({"register", "a@b.c", "secret"});
  EXPECT_EQ(std::get<UsageError>(command).message.find("secret"), std::string::npos);
}

}  // namespace
}  // namespace pell
