#include <fstream>
#include <gtest/gtest.h>

#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/DesktopEntries.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class DesktopEntriesTest : public ::testing::Test {
 protected:
  void write(const std::string& path, const std::string& body) {
    fs::create_directories((folder_.path() / path).parent_path());
    std::ofstream(folder_.path() / path) << "[Desktop Entry]\nType=Application\n" << body;
  }

  TemporaryDirectory folder_;
  DesktopEntries entries_{{folder_.path() / "user", folder_.path() / "system"}};
};

TEST_F(DesktopEntriesTest, FindsTheEntryOfAWindow) {
  write("system/org.example.Writer.desktop",
        "Name=Writer\nExec=/opt/writer/bin/writer-bin %U\nStartupWMClass=WriterMain\n");
  write("system/kde/painter.desktop", "Name=Painter\nExec=env LANG=C \"/opt/a b/painter\" --new\n");
  write("system/boxed.desktop", "Name=Boxed\nExec=flatpak run org.example.Boxed\n");
  write("system/shell.desktop", "Name=Shell\nExec=shell\nCategories=GTK;TerminalEmulator;\n");
  write("system/old.desktop", "Name=Old\nExec=old\n");
  write("user/old.desktop", "Name=Deleted\nExec=old\nHidden=true\n");
  write("system/python3.11.desktop", "Name=Python\nExec=/usr/bin/python3.11\n");
  write("system/broken.desktop", "\x01\x02 not a key file");
  struct Case {
    WindowIdentity window;
    std::string id, name;
  };
  for (const auto& [window, id, name] :
       {Case{{.className = "writermain"}, "org.example.Writer", "Writer"},
        Case{{.applicationId = "org.example.writer", .className = "x"}, "org.example.Writer", "Writer"},
        Case{{.className = "Writer", .program = "writer-bin"}, "org.example.Writer", "Writer"},
        Case{{.className = "Painter", .instanceName = "painter"}, "kde-painter", "Painter"},
        Case{{.className = "flatpak"}, "", ""},
        Case{{.className = "Script", .program = "python3.11"}, "", ""},
        Case{{.className = "Unknown", .program = "unknown"}, "", ""}}) {
    auto entry = entries_.find(window);
    EXPECT_EQ(entry ? entry->id : "", id) << window.className;
    if (entry) EXPECT_EQ(entry->name, name);
  }
  EXPECT_TRUE(entries_.find({.className = "Shell"})->isTerminal);
  auto deleted = entries_.find({.className = "old"});
  EXPECT_TRUE(!deleted || deleted->name.empty()) << "a deleted entry still hides the system's";
}

TEST_F(DesktopEntriesTest, SeesWhatIsInstalledLater) {
  write("system/first.desktop", "Name=First\nExec=first\n");
  EXPECT_FALSE(entries_.find({.className = "Late"}));
  write("user/late.desktop", "Name=Late\nExec=late\n");
  ASSERT_TRUE(entries_.find({.className = "Late"}));
  EXPECT_EQ(entries_.find({.className = "Late"})->name, "Late");
}

TEST(ApplicationIdentityTest, KeepsOneIdentifierForApplicationsOfSeveralPlatforms) {
  DesktopEntry slack{.id = "slack"}, editor{.id = "org.gnome.TextEditor"};
  EXPECT_EQ(identifierOf({.className = "Slack"}, &slack), "com.tinyspeck.slackmacgap");
  EXPECT_EQ(identifierOf({.className = "Slack"}, nullptr), "com.tinyspeck.slackmacgap");
  for (const auto& browser : linuxBrowsers()) EXPECT_EQ(commonIdentifier(browser), browser);
  EXPECT_EQ(identifierOf({.className = "gnome-text-editor"}, &editor), "org.gnome.TextEditor");
  EXPECT_EQ(identifierOf({.applicationId = "org.example.App", .className = "Slack"}, &slack),
            "org.example.App");
}

TEST(ApplicationIdentityTest, KnowsAnEngineByWhatShipsBesideTheProgram) {
  TemporaryDirectory folder;
  WindowIdentity unknown{.className = "Renamed", .instanceName = "renamed"};
  EXPECT_FALSE(hasDeafTextFields(unknown, folder.path()));
  for (const char* file : {"libxul.so", "chrome_100_percent.pak"}) {
    std::ofstream(folder.path() / file) << "x";
    EXPECT_TRUE(hasDeafTextFields(unknown, folder.path())) << file;
    fs::remove(folder.path() / file);
  }
}

}  // namespace
}  // namespace pell::testing
