#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/DesktopEntries.h"
#include "platform/linux/StyleSupplement.h"
#include "styles/StyleSeeds.h"
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
    EXPECT_EQ(entry ? entry->name : name, name);
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

TEST(ApplicationIdentityTest, RulesForApplicationsThatAreOnLinuxFindThem) {
  // As a Debian package, from Flathub and as a snap.
  const std::map<std::string, std::vector<std::string>> places = {
      {"com.tinyspeck.slackmacgap", {"slack", "com.slack.Slack", "slack_slack"}},
      {"com.microsoft.VSCode", {"code", "com.visualstudio.code", "code_code"}},
      {"us.zoom.xos", {"Zoom", "us.zoom.Zoom", "zoom-client_zoom-client"}},
      {"net.whatsapp.WhatsApp", {"whatsapp-desktop", "com.rtosta.zapzap", "whatsdesk_whatsdesk"}},
      {"notion.id", {"notion-app", "io.github.brunofin.Cohesion"}},
      {"com.anthropic.claudefordesktop", {"claude-desktop"}},
      {"com.google.Chrome", {"google-chrome", "com.google.Chrome"}},
      {"com.microsoft.edgemac", {"microsoft-edge", "com.microsoft.Edge"}},
      {"com.brave.Browser", {"brave-browser", "com.brave.Browser", "brave_brave"}},
      {"com.vivaldi.Vivaldi", {"vivaldi-stable", "com.vivaldi.Vivaldi", "vivaldi_vivaldi-stable"}},
      {"com.operasoftware.Opera", {"opera", "com.opera.Opera", "opera_opera"}},
  };
  for (const auto& [common, ids] : places) {
    for (const auto& id : ids) EXPECT_EQ(commonIdentifier(id), common) << id;
  }

  std::set<std::string_view> styles;
  for (const auto& rule : StyleSeeds::appStyleRulesV4) styles.insert(rule.style);
  for (const auto& rule : StyleSeeds::appStyleRulesV5) styles.insert(rule.style);
  for (const auto& rule : StyleSeeds::hostStyleRulesV4) styles.insert(rule.style);
  const auto given = StyleSeeds::appStyleRules();
  std::set<std::string> seen;
  for (const auto& [id, style] : linuxStyleRules()) {
    const std::string key(id);
    EXPECT_EQ(commonIdentifier(id), key) << "no window ever goes by this identifier";
    EXPECT_FALSE(given.contains(key)) << key;
    EXPECT_TRUE(seen.insert(key).second) << key;
    EXPECT_TRUE(styles.contains(style)) << style;
  }
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
