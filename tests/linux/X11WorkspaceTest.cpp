#include <fstream>
#include <gio/gio.h>
#include <map>
#include <unistd.h>

#include "contracts/WorkspaceContract.h"
#include "linux/X11Worlds.h"
#include "platform/linux/GLibPtr.h"
#include "platform/linux/X11Workspace.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class X11WorkspaceWorld : public X11World<WorkspaceWorld> {
 public:
  X11WorkspaceWorld() {
    fs::path script = folder_.path() / "opener";
    std::ofstream(script) << "#!/bin/sh\nprintf '%s\\n' \"$1\" >> '" << opened().string() << "'\n";
    fs::permissions(script, fs::perms::owner_all);
    GAppInfo* opener = g_app_info_create_from_commandline(script.c_str(), "Test opener",
                                                          G_APP_INFO_CREATE_SUPPORTS_URIS, nullptr);
    g_app_info_set_as_default_for_type(opener, "x-scheme-handler/https", nullptr);
    g_object_unref(opener);
  }
  ~X11WorkspaceWorld() override { g_app_info_reset_type_associations("x-scheme-handler/https"); }

  Workspace& workspace() override { return *workspace_; }
  int openApplication(const std::string& identifier, const std::string& name) override {
    int process = 40'000'000 + static_cast<int>(windows_.size());  // above what the kernel gives out
    windows_[process] = user.openWindow({.instance = name,
                                         .className = name,
                                         .applicationId = identifier,
                                         .title = name,
                                         .process = process});
    return process;
  }
  void bringToFront(int process) override { user.activate(windows_.at(process)); }
  void closeApplication(int process) override { user.close(windows_.at(process)); }
  void activateSelf() override {
    user.openWindow({.instance = "self", .className = "Self", .process = getpid()});
  }
  std::vector<std::string> openedAddresses() override {
    std::vector<std::string> addresses;
    std::ifstream file(opened());
    for (std::string line; std::getline(file, line);) addresses.push_back(line);
    return addresses;
  }

 private:
  fs::path opened() const { return folder_.path() / "opened"; }

  TemporaryDirectory folder_;
  std::map<int, unsigned long> windows_;
  std::unique_ptr<X11Workspace> workspace_ = mustOpen<X11Workspace>(log);
};

PELL_INSTANTIATE_CONTRACT(X11, WorkspaceContract, WorkspaceWorld, X11WorkspaceWorld);

TEST(X11WorkspaceTest, DescribesTheWindowInFront) {
  X11WorkspaceWorld world;
  constexpr auto plain = PasteStyle::controlV;
  struct Case {
    XClient::Appearance window;
    std::string identifier;
    bool rejectsText;
    PasteStyle paste;
  };
  const std::vector<Case> cases{
      {{.instance = "code", .className = "Code"}, "com.microsoft.VSCode", true, plain},
      {{.instance = "google-chrome (/tmp/p)", .className = "Google-chrome"},
       "com.google.Chrome",
       true,
       plain},
      {{.instance = "Navigator", .className = "Some-fork"}, "Some-fork", true, plain},
      {{.instance = "xterm", .className = "XTerm"}, "debian-xterm", false, PasteStyle::shiftInsert},
      {{.instance = "konsole", .className = "konsole"}, "konsole", false, PasteStyle::controlShiftV},
      {{.instance = "o", .className = "O", .applicationId = "org.example.O"}, "org.example.O", false, plain},
  };
  for (const auto& [window, identifier, rejectsText, paste] : cases) {
    SCOPED_TRACE(window.className);
    auto& workspace = static_cast<X11Workspace&>(world.workspace());
    auto opened = world.user.openWindow(window);
    ASSERT_TRUE(world.waitUntil([&] {
      auto front = workspace.frontmostApplication();
      return front && front->bundleIdentifier == identifier;
    })) << workspace.frontmostApplication()->bundleIdentifier.value_or("none");
    auto front = workspace.frontmostApplication();
    EXPECT_TRUE(identifier == "debian-xterm" || front->localizedName == window.className)
        << front->localizedName;
    EXPECT_EQ(front->rejectsAccessibilityText, rejectsText);
    EXPECT_EQ(workspace.pasteStyle(), paste);
    world.user.close(opened);
  }
}

TEST(X11WorkspaceTest, CannotOpenWhatNobodyHandles) {
  X11WorkspaceWorld world;
  EXPECT_FALSE(world.workspace().open("x-nobody-knows://here"));
  EXPECT_EQ(world.lines.count("open_failed"), 1u);
}

}  // namespace
}  // namespace pell::testing
