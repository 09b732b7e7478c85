#include <fstream>

#include "contracts/SyntheticInputContract.h"
#include "linux/Editor.h"
#include "linux/X11Worlds.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/X11SyntheticInput.h"
#include "platform/linux/X11Workspace.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Pastes into an editor of the given toolkit, and into a real terminal.
class X11SyntheticInputWorld : public X11World<SyntheticInputWorld> {
 public:
  explicit X11SyntheticInputWorld(const std::string& script) : editor_(script) {}
  ~X11SyntheticInputWorld() override { runTool({"setxkbmap", "us", "-option", ""}); }

  SyntheticInput& input() override { return *input_; }
  Pasteboard& pasteboard() override { return *pasteboard_; }
  void focusTextArea(const std::string& text) override {
    terminal_.reset();
    editor_.call("show", "view", text);
    bringToFront(editor_.process().pid());
  }
  void focusTerminal() override {
    editor_.call("active");  // its window is there before the terminal's
    // What is pasted goes into a file, a line at a time.
    terminal_ = std::make_unique<AppProcess>(
        std::vector<std::string>{"xterm", "-e", "sh", "-c", "cat > '" + typed().string() + "'"});
    bringToFront(terminal_->pid());
  }
  std::string fieldText() override { return editor_.call("text").get<std::string>(); }
  std::string terminalText() const { return contentOf(typed()); }
  void holdOption(bool down) override { down ? user.press(xkey::leftAlt) : user.release(xkey::leftAlt); }

 private:
  std::filesystem::path typed() const { return folder_.path() / "typed"; }
  void bringToFront(int process) {
    EXPECT_TRUE(waitUntil([&] {
      auto front = workspace_->frontmostApplication();
      return front && front->processIdentifier == process;
    }));
    settle();
    settle();
  }

  TemporaryDirectory folder_;
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
  for (const std::vector<std::string>& layout : {std::vector<std::string>{"us"},
                                                 {"ru"},
                                                 {"us,ru"},
                                                 {"ru,us"},
                                                 {"in"},
                                                 {"us", "-variant", "dvorak"},
                                                 {"de"}}) {
    for (int group = 0; group < (layout[0].find(',') == std::string::npos ? 1 : 2); ++group) {
      SCOPED_TRACE(::testing::PrintToString(layout) + " group " + std::to_string(group));
      runTool({"setxkbmap", "us", "-variant", "", "-option", ""});
      std::vector<std::string> tool{"setxkbmap"};
      tool.insert(tool.end(), layout.begin(), layout.end());
      runTool(tool);
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
  this->world_.focusTextArea("");
  for (int key : {xkey::shift, xkey::leftAlt, xkey::rightSuper, xkey::control}) {
    SCOPED_TRACE(key);
    this->world_.focusTextArea("");
    this->world_.user.press(key);
    this->paste("held");
    EXPECT_TRUE(this->world_.waitUntil([&] { return this->world_.fieldText() == "held"; }, Seconds(3)))
        << this->world_.fieldText();
    this->world_.user.release(key);
    EXPECT_EQ(this->world_.input().makeSource()->modifierFlags(), 0u) << "a modifier stays down";
  }
}

TEST(X11TerminalPasteTest, PastesIntoATerminalWithoutRunningIt) {
  Gtk world;
  world.focusTerminal();
  ASSERT_EQ(world.input().pasteTarget(), PasteTarget::terminal);
  const std::string text = "words for a terminal é";
  world.pasteboard().writeItems({{.representations = {{std::string(pasteboardTypeString), text}}}});
  world.input().makeSource()->makePasteKeys()->post(Seconds(0.012));
  world.settle();
  EXPECT_EQ(world.terminalText(), "") << "the line was run";
  world.user.tap(xkey::enter);
  EXPECT_TRUE(world.waitUntil([&] { return world.terminalText() == text + "\n"; }, Seconds(3)))
      << world.terminalText();
}

}  // namespace
}  // namespace pell::testing
