// The trigger keys leave the application in front as it is: what is typed next still lands in its text.
#include <fstream>

#include "linux/Editor.h"
#include "linux/X11Worlds.h"
#include "pipeline/HotKeyMonitor.h"
#include "platform/linux/X11EventTap.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

class Plain : public World {};

/// A program with a menu bar and a text area that has the focus.
class MenuProgram {
 public:
  virtual ~MenuProgram() = default;
  virtual std::string text() = 0;
  virtual bool isFocused() = 0;
  virtual int menusOpened() = 0;
};

class ToolkitWindow : public MenuProgram {
 public:
  explicit ToolkitWindow(const std::string& toolkit) : editor_("menu_editor.py", {toolkit}) {}
  std::string text() override { return editor_.call("text").get<std::string>(); }
  bool isFocused() override { return editor_.call("focused") == true; }
  int menusOpened() override { return editor_.call("menus").get<int>(); }

 private:
  Editor editor_;
};

/// Tells its state in the window's title.
class FirefoxWindow : public MenuProgram {
 public:
  explicit FirefoxWindow(XClient& user) : user_(user) {
    std::ofstream(folder_.path() / "user.js")
        << "user_pref('browser.aboutwelcome.enabled', false);"
           "user_pref('browser.shell.checkDefaultBrowser', false);"
           "user_pref('datareporting.policy.dataSubmissionEnabled', false);"
           "user_pref('browser.startup.homepage_override.mstone', 'ignore');"
           "user_pref('network.captive-portal-service.enabled', false);"
           "user_pref('app.update.enabled', false);"
           "user_pref('network.proxy.type', 1);"
           "user_pref('network.proxy.http', '127.0.0.1'); user_pref('network.proxy.http_port', 9);"
           "user_pref('network.proxy.ssl', '127.0.0.1'); user_pref('network.proxy.ssl_port', 9);";
    std::ofstream(folder_.path() / "page.html")
        << "<meta charset=utf-8><textarea id=t autofocus "
           "style='position:fixed;inset:0;width:100%;height:100%'>"
           "</textarea><script>const t=document.getElementById('t');const f=()=>document.title="
           "(document.hasFocus()&&document.activeElement===t?'F':'-')+'['+t.value+']';setInterval(f,20);f()</"
           "script>";
    process_ = std::make_unique<AppProcess>(std::vector<std::string>{
        "env", "MOZ_DISABLE_CONTENT_SANDBOX=1", "MOZ_CRASHREPORTER_DISABLE=1", "firefox-esr", "--no-remote",
        "--profile", folder_.path(), "file://" + (folder_.path() / "page.html").string()});
  }
  std::string text() override {
    auto title = user_.activeTitle();
    auto from = title.find('['), to = title.find(']');
    return from == std::string::npos || to == std::string::npos ? title
                                                                : title.substr(from + 1, to - from - 1);
  }
  bool isFocused() override { return user_.activeTitle().starts_with("F["); }
  int menusOpened() override { return 0; }

 private:
  XClient& user_;
  TemporaryDirectory folder_;
  std::unique_ptr<AppProcess> process_;
};

class TriggerFocusTest : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (std::string(GetParam()) == "firefox") {
      program_ = std::make_unique<FirefoxWindow>(world_.user);
    } else {
      program_ = std::make_unique<ToolkitWindow>(GetParam());
    }
    ASSERT_TRUE(world_.waitUntil([&] { return program_->isFocused(); }, Seconds(60)));
    if (std::string(GetParam()) == "firefox") {
      // The page has the focus before the window takes keys.
      ASSERT_TRUE(world_.waitUntil(
          [&] {
            world_.user.tap(xkey::a);
            world_.loop.runFor(Seconds(0.3));
            return !program_->text().empty();
          },
          Seconds(30)));
      world_.settle();
      typed_ = program_->text();
    }
    ASSERT_TRUE(monitor_.start(HotKeyTrigger::holdOption));
    world_.settle();
  }

  void hold(double seconds) {
    world_.user.press(xkey::leftAlt);
    world_.loop.runFor(Seconds(seconds));
    world_.user.release(xkey::leftAlt);
    world_.loop.runFor(Seconds(0.05));
  }

  bool hears(HotKeyMonitor::Event event) {
    return world_.waitUntil([&] { return !events_.empty() && events_.back() == event; }, Seconds(2));
  }

  // What the user types next, or what is pasted, lands where it did before.
  void expectTypingLands() {
    world_.user.tap(xkey::b);
    typed_ += 'b';
    EXPECT_TRUE(world_.waitUntil([&] { return program_->text() == typed_; }, Seconds(2))) << program_->text();
    EXPECT_TRUE(program_->isFocused());
    EXPECT_EQ(program_->menusOpened(), 0);
  }

  X11World<Plain> world_;
  X11EventTapService taps_{world_.loop, world_.log};
  std::vector<HotKeyMonitor::Event> events_;
  HotKeyMonitor monitor_{taps_, world_.loop, world_.log, [this](auto event) { events_.push_back(event); }};
  std::unique_ptr<MenuProgram> program_;
  std::string typed_;
};

TEST_P(TriggerFocusTest, HoldsLeaveTheFocus) {
  for (int round = 0; round < 10 && !HasFailure(); ++round) {
    hold(0.35);
    ASSERT_TRUE(hears(HotKeyMonitor::Event::end));
    expectTypingLands();
  }
}

TEST_P(TriggerFocusTest, DoubleTapsLeaveTheFocus) {
  for (int round = 0; round < 10 && !HasFailure(); ++round) {
    SCOPED_TRACE(round);
    double tap = round % 2 ? 0.04 : 0.15;
    hold(tap);
    hold(tap);
    ASSERT_TRUE(hears(HotKeyMonitor::Event::begin));
    if (round % 3) expectTypingLands();  // typing does not end it
    hold(tap);
    ASSERT_TRUE(hears(HotKeyMonitor::Event::end));
    expectTypingLands();
    world_.loop.runFor(Seconds(0.45));
  }
}

TEST_P(TriggerFocusTest, AHoldAfterALoneTapLeavesTheFocus) {
  for (double pause : {0.1, 0.6}) {
    hold(0.05);
    world_.loop.runFor(Seconds(pause));
    hold(0.4);
    ASSERT_TRUE(hears(HotKeyMonitor::Event::end));
    expectTypingLands();
  }
}

TEST_P(TriggerFocusTest, TheChordLeavesTheFocusAndTypesNoSpace) {
  ASSERT_TRUE(monitor_.start(HotKeyTrigger::toggleControlOptionSpace));
  world_.settle();
  for (int first : {xkey::leftAlt, xkey::control}) {
    int second = first == xkey::leftAlt ? xkey::control : xkey::leftAlt;
    events_.clear();
    for (int key : {first, second, xkey::space}) world_.user.press(key);
    world_.loop.runFor(Seconds(0.1));
    for (int key : {xkey::space, first, second}) world_.user.release(key);
    ASSERT_TRUE(hears(HotKeyMonitor::Event::toggle));
    expectTypingLands();
  }
}

INSTANTIATE_TEST_SUITE_P(Programs, TriggerFocusTest, ::testing::Values("gtk", "qt", "firefox"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
}  // namespace pell::testing
