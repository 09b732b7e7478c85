// The doubles of what a desktop shows hold the contracts of their ports.
#include "contracts/AccessibilityTreeContract.h"
#include "contracts/EventTapContract.h"
#include "contracts/PasteboardContract.h"
#include "contracts/SyntheticInputContract.h"
#include "contracts/WorkspaceContract.h"
#include "memory/VirtualWorld.h"

namespace pell::testing {
namespace {

class PasteboardInMemory final : public VirtualWorld<PasteboardWorld> {
 public:
  Pasteboard& pasteboard() override { return desk.pasteboard; }
  void otherCopies(PasteboardItem item) override { desk.pasteboard.otherPuts({std::move(item)}); }
  std::optional<std::string> otherPastes(std::string_view type) override {
    return desk.pasteboard.otherReads(type);
  }
  void ownerHangs() override { desk.pasteboard.ownerHangs = true; }
};
PELL_INSTANTIATE_CONTRACT(Memory, PasteboardContract, PasteboardWorld, PasteboardInMemory);

class EventTapInMemory final : public VirtualWorld<EventTapWorld> {
 public:
  EventTapService& taps() override { return desk.taps; }
  void press(PhysicalKey key) override {
    if (desk.taps.press(code(key))) ++received_[key];
  }
  void release(PhysicalKey key) override { desk.taps.release(code(key)); }
  void click(TapEventType button) override { desk.taps.feed({.type = button}); }
  int received(PhysicalKey key) override { return received_[key]; }
  bool withdrawGrant() override {
    desk.desktop.trusted = false;
    return true;
  }
  bool disableBySystem() override {
    desk.taps.disableBySystem();
    return true;
  }

 private:
  static int code(PhysicalKey key) {
    static constexpr int codes[] = {
        keycode::leftOption,       keycode::rightOption, keycode::rightCommand, MemoryEventTaps::controlKey,
        MemoryEventTaps::shiftKey, keycode::escape,      keycode::space,        keycode::other};
    return codes[static_cast<int>(key)];
  }
  std::map<PhysicalKey, int> received_;
};
PELL_INSTANTIATE_CONTRACT(Memory, EventTapContract, EventTapWorld, EventTapInMemory);

class WorkspaceInMemory final : public VirtualWorld<WorkspaceWorld> {
 public:
  Workspace& workspace() override { return desk.workspace; }
  int openApplication(const std::string& identifier, const std::string& name) override {
    return desk.desktop.launch({.bundleIdentifier = identifier, .localizedName = name})
        .info.processIdentifier;
  }
  void bringToFront(int process) override { desk.desktop.activate(*desk.desktop.find(process)); }
  void closeApplication(int process) override { desk.desktop.quit(process); }
  void activateSelf() override { desk.desktop.activateSelf(); }
  std::vector<std::string> openedAddresses() override { return desk.workspace.opened; }
};
PELL_INSTANTIATE_CONTRACT(Memory, WorkspaceContract, WorkspaceWorld, WorkspaceInMemory);

/// The offset in bytes of a code point.
std::size_t byteOffset(const std::string& utf8, int codePoint) {
  std::size_t at = 0;
  while (codePoint > 0 && at < utf8.size()) {
    ++at;
    while (at < utf8.size() && (static_cast<unsigned char>(utf8[at]) & 0xC0) == 0x80) ++at;
    --codePoint;
  }
  return at;
}

class AccessibilityInMemory final : public VirtualWorld<AccessibilityWorld> {
 public:
  AccessibilityInMemory() { desk.desktop.launch({.bundleIdentifier = "org.example.Editor"}); }
  AccessibilityTree& tree() override { return desk.accessibility; }
  void focusTextField(const std::string& text) override {
    front().focus = desk.desktop.makeTextElement(accessibility::textField);
    front().focus->setText(text);
  }
  void focusPasswordField() override {
    front().focus = desk.desktop.makeTextElement(accessibility::secureTextField);
  }
  void focusButton() override { front().focus = desk.desktop.makeElement("AXButton"); }
  void select(int from, int length) override {
    auto& field = *front().focus;
    field.selectionStart = byteOffset(field.text, from);
    field.selectionLength = byteOffset(field.text, from + length) - field.selectionStart;
  }
  std::string fieldText() override { return front().focus->text; }
  int process() override { return front().info.processIdentifier; }
  void hang() override { front().focus->latency = Seconds(1000); }
  void focusNothing() override { desk.desktop.deactivateAll(); }
  bool withdrawTrust() override {
    desk.desktop.trusted = false;
    return true;
  }

 private:
  MemoryApplication& front() { return *desk.desktop.frontmost(); }
};
PELL_INSTANTIATE_CONTRACT(Memory, AccessibilityContract, AccessibilityWorld, AccessibilityInMemory);

class SyntheticInputInMemory final : public VirtualWorld<SyntheticInputWorld> {
 public:
  SyntheticInput& input() override { return desk.input; }
  Pasteboard& pasteboard() override { return desk.pasteboard; }
  void focusTextArea(const std::string& text) override { desk.desktop.launchEditor().focus->setText(text); }
  void focusTerminal() override { desk.desktop.launchEditor().pasteTarget = PasteTarget::terminal; }
  std::string fieldText() override { return desk.desktop.focus()->text; }
  void holdOption(bool down) override { desk.input.heldModifiers = down ? modifier::option : 0; }
};
PELL_INSTANTIATE_CONTRACT(Memory, SyntheticInputContract, SyntheticInputWorld, SyntheticInputInMemory);

}  // namespace
}  // namespace pell::testing
