#include "contracts/SyntheticInputContract.h"
#include "linux/Editor.h"
#include "linux/X11Worlds.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/X11SyntheticInput.h"
#include "platform/linux/X11Workspace.h"

namespace pell::testing {
namespace {

/// Pastes into an editor of the given toolkit, and into a real terminal.
class X11SyntheticInputWorld : public X11World<SyntheticInputWorld> {
 public:
  explicit X11SyntheticInputWorld(const std::string& script) : editor_(script) {}
  ~X11SyntheticInputWorld() override { runTool({"setxkbmap", "us", "-option", ""}); }

  SyntheticInput& input() override { return *input_; }
  Pasteboard& pasteboard() override { return *pasteboard_; }
  void focusTextArea(const std::string& text) override {
    terminal_.reset();
    editor_.call("show", "text", text);
    bringToFront(editor_.process().pid());
  }
  void focusTerminal() override {
    editor_.call("active");  // its window is there before the terminal's
    terminal_ = std::make_unique<AppProcess>(std::vector<std::string>{"xterm", "-e", "cat"});
    bringToFront(terminal_->pid());
  }
  std::string fieldText() override { return editor_.call("text").get<std::string>(); }
  void holdOption(bool down) override { down ? user.press(xkey::leftAlt) : user.release(xkey::leftAlt); }

 private:
  void bringToFront(int process) {
    EXPECT_TRUE(waitUntil([&] {
      auto front = workspace_->frontmostApplication();
      return front && front->processIdentifier == process;
    }));
    settle();
    settle();
  }

  std::unique_ptr<X11Workspace> workspace_ = mustOpen<X11Workspace>(log);
  std::unique_ptr<X11Pasteboard> pasteboard_ = mustOpen<X11Pasteboard>(log);
  std::unique_ptr<X11SyntheticInput> input_ = mustOpen<X11SyntheticInput>(X11SyntheticInput::Collaborators{
      .pasteStyle = [this] { return workspace_->pasteStyle(); },
      .offerPrimary = [this] { pasteboard_->offerAsPrimary(); },
  });
  Editor editor_;
  std::unique_ptr<AppProcess> terminal_;
};

struct Gtk : X11SyntheticInputWorld {
  Gtk() : X11SyntheticInputWorld("gtk_editor.py") {}
};
struct Qt : X11SyntheticInputWorld {
  Qt() : X11SyntheticInputWorld("qt_editor.py") {}
};

PELL_INSTANTIATE_CONTRACT(Gtk, SyntheticInputContract, SyntheticInputWorld, Gtk);
PELL_INSTANTIATE_CONTRACT(Qt, SyntheticInputContract, SyntheticInputWorld, Qt);

template <class W>
class X11PasteTest : public ::testing::Test {
 protected:
  void paste(const std::string& text) {
    world_.pasteboard().writeItems({{.representations = {{std::string(pasteboardTypeString), text}}}});
    auto keys = world_.input().makeSource()->makePasteKeys();
    ASSERT_NE(keys, nullptr);
    keys->post(Seconds(0.012));
  }
  W world_;
};

using Toolkits = ::testing::Types<Gtk, Qt>;
TYPED_TEST_SUITE(X11PasteTest, Toolkits);

TYPED_TEST(X11PasteTest, PastesInEveryLayout) {
  // Some have no Latin letters at all, some have them in another group than the one in use.
  for (const std::string layout : {"us", "ru", "us,ru", "ru,us", "in", "us -variant dvorak", "de"}) {
    for (int group = 0; group < (layout.find(',') == std::string::npos ? 1 : 2); ++group) {
      SCOPED_TRACE(layout + " group " + std::to_string(group));
      runTool({"setxkbmap", "us", "-variant", "", "-option", ""});
      runTool({"sh", "-c", "setxkbmap " + layout});
      this->world_.user.lockGroup(group);
      this->world_.settle();
      this->world_.focusTextArea("");
      this->paste("layout");
      EXPECT_TRUE(this->world_.waitUntil([&] { return this->world_.fieldText() == "layout"; }, Seconds(3)))
          << this->world_.fieldText();
      EXPECT_EQ(this->world_.user.group(), group) << "the user's layout was left switched";
    }
  }
}

TYPED_TEST(X11PasteTest, PastesThoughModifiersAreHeld) {
  for (int key : {xkey::shift, xkey::leftAlt, xkey::rightSuper, xkey::control}) {
    this->world_.focusTextArea("");
    this->world_.user.press(key);
    this->paste("held");
    EXPECT_TRUE(this->world_.waitUntil([&] { return this->world_.fieldText() == "held"; }, Seconds(3)))
        << this->world_.fieldText();
    this->world_.user.release(key);
    EXPECT_EQ(this->world_.input().makeSource()->modifierFlags(), 0u) << "a modifier stays down";
  }
}

}  // namespace
}  // namespace pell::testing
