// Synthetic keys and secure keyboard entry.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/SecureEntry.h"
#include "platform/SyntheticInput.h"
#include "support/MemoryDesktop.h"
#include "support/MemoryPasteboard.h"

namespace pell::testing {

class MemorySecureEntry final : public SecureEntry {
 public:
  bool enabled = false;
  bool isEnabled() override { return enabled; }
};

/// Posted paste keys reach the element that has the focus; as in a real desktop, its application reads
/// the pasteboard a moment later.
class MemoryInput final : public SyntheticInput {
 public:
  MemoryInput(MemoryDesktop& desktop, MemoryPasteboard& pasteboard)
      : desktop_(desktop), pasteboard_(pasteboard), target_(desktop.time.serialExecutors()("target")) {}

  struct Paste {
    int processIdentifier = 0;  // 0: no application in front
    std::uint64_t heldModifiers = 0;
    Seconds hold{0};
    std::optional<std::string> text;  // what the target read; absent until it did
  };

  bool sourceAvailable = true;
  bool keysAvailable = true;
  std::uint64_t heldModifiers = 0;  // what the user holds down
  std::vector<Paste> pastes;

  std::unique_ptr<EventSource> makeSource() override {
    if (!sourceAvailable) return nullptr;
    return std::make_unique<Source>(*this);
  }
  PasteTarget pasteTarget() override {
    auto* front = desktop_.frontmost();
    return front ? front->pasteTarget : PasteTarget::ordinary;
  }

 private:
  class Keys final : public PasteKeys {
   public:
    explicit Keys(MemoryInput& input) : input_(input) {}
    void post(Seconds hold) override { input_.paste(hold); }

   private:
    MemoryInput& input_;
  };

  class Source final : public EventSource {
   public:
    explicit Source(MemoryInput& input) : input_(input) {}
    std::uint64_t modifierFlags() override { return input_.heldModifiers; }
    void permitLocalEvents() override {}
    std::unique_ptr<PasteKeys> makePasteKeys() override {
      if (!input_.keysAvailable) return nullptr;
      return std::make_unique<Keys>(input_);
    }

   private:
    MemoryInput& input_;
  };

  void paste(Seconds hold) {
    auto* front = desktop_.frontmost();
    auto index = pastes.size();
    pastes.push_back({.processIdentifier = front ? front->info.processIdentifier : 0,
                      .heldModifiers = heldModifiers,
                      .hold = hold,
                      .text = std::nullopt});
    desktop_.time.block(hold);
    reading_.push_back(target_->postAfter(Seconds(0.02), [this, index, element = desktop_.focus()] {
      pastes[index].text = pasteboard_.otherReads(pasteboardTypeString);
      if (element && element->takesText && pastes[index].text) element->insert(*pastes[index].text);
    }));
  }

  MemoryDesktop& desktop_;
  MemoryPasteboard& pasteboard_;
  std::unique_ptr<Executor> target_;
  std::vector<DelayedWork> reading_;
};

}  // namespace pell::testing
