// A private desktop with an editor in front, for everything that puts text into other programs.
#pragma once

#include <memory>
#include <signal.h>
#include <string>

#include "contracts/AccessibilityTreeContract.h"
#include "linux/DesktopHelpers.h"
#include "linux/Editor.h"
#include "linux/RealLoop.h"
#include "platform/linux/AtspiAccessibility.h"

namespace pell::testing {

/// `kind` is the field that stands for "a text field": "entry" or "text", or "plain" in Qt.
class EditorWorld : public AccessibilityWorld {
 public:
  EditorWorld(const std::string& script, std::string kind)
      : kind_(std::move(kind)),
        x_(openDisplay()),
        tree_({.activeProcess = [this] { return activeProcess(*x_); }, .own = nullptr, .alsoNeeded = {}}),
        editor_(script) {
    setAccessibilityEnabled(true);
    waitUntil([this] { return tree_.isTrusted(); });
  }
  ~EditorWorld() override { setAccessibilityEnabled(true); }

  bool waitUntil(std::function<bool()> done, Seconds limit) override { return loop_.runUntil(done, limit); }
  using World::waitUntil;
  void settle() override { loop_.runFor(Seconds(0.2)); }
  Instant now() const override { return loop_.now(); }

  AccessibilityTree& tree() override { return tree_; }
  void focusTextField(const std::string& text) override { show(kind_, text); }
  void focusPasswordField() override { show("secret", "hidden"); }
  void focusButton() override { show("button", ""); }
  void select(int from, int length) override { editor_.call("select", from, length); }
  std::string fieldText() override { return editor_.call("text").get<std::string>(); }
  int process() override { return editor_.process().pid(); }
  void hang() override { editor_.process().signal(SIGSTOP); }
  void focusNothing() override { editor_.call("hide"); }
  bool withdrawTrust() override {
    setAccessibilityEnabled(false);
    return true;
  }

  void show(const std::string& kind, const std::string& text) {
    editor_.call("show", kind, text);
    EXPECT_TRUE(waitUntil([&] { return activeProcess(*x_) == process() && editor_.call("active") == true; }));
    settle();
  }
  Editor& editor() { return editor_; }

 private:
  RealLoop loop_;
  std::string kind_;
  std::unique_ptr<X11Connection> x_;
  AtspiAccessibility tree_;
  Editor editor_;
};

}  // namespace pell::testing
