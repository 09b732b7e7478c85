// The screen of the in-memory platform: which applications run, which is in front, what has the focus.
#pragma once

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/SyntheticInput.h"
#include "platform/Workspace.h"
#include "support/MemoryElement.h"

namespace pell::testing {

struct MemoryApplication {
  RunningApplication info;
  std::shared_ptr<MemoryElement> element;  // the application itself
  std::shared_ptr<MemoryElement> window;
  std::shared_ptr<MemoryElement> focus;  // null when nothing in it has the focus
  PasteTarget pasteTarget = PasteTarget::ordinary;
};

class MemoryDesktop {
 public:
  static constexpr int ownProcess = 4000;

  explicit MemoryDesktop(VirtualTime& clock) : time(clock) {}

  VirtualTime& time;
  bool trusted = true;  // the accessibility grant

  std::shared_ptr<MemoryElement> makeElement(std::string_view role) {
    auto element = std::make_shared<MemoryElement>(time, trusted);
    element->attributes.emplace(accessibility::role, std::string(role));
    return element;
  }

  /// A text field or text area that takes typing, pasting and insertion.
  std::shared_ptr<MemoryElement> makeTextElement(std::string_view role = accessibility::textArea) {
    auto element = makeElement(role);
    element->selectedTextSettable = true;
    element->takesText = true;
    return element;
  }

  /// Starts an application and brings it to the front.
  MemoryApplication& launch(RunningApplication info) {
    if (info.processIdentifier == 0) info.processIdentifier = nextProcess_++;
    auto& application = applications_.emplace_back(MemoryApplication{.info = std::move(info),
                                                                     .element = makeElement("AXApplication"),
                                                                     .window = makeElement("AXWindow"),
                                                                     .focus = nullptr});
    application.element->attributes.emplace(accessibility::focusedWindow,
                                            AccessibilityElementRef(application.window));
    application.window->attributes.emplace(accessibility::children, std::vector<AccessibilityElementRef>());
    front_ = &application;
    return application;
  }

  /// An editor in front, with the focus in an empty text area.
  MemoryApplication& launchEditor(std::string identifier = "org.example.Editor",
                                  std::string name = "Editor") {
    auto& editor = launch({.bundleIdentifier = std::move(identifier), .localizedName = std::move(name)});
    editor.focus = makeTextElement();
    return editor;
  }

  /// An application ends. Nothing is in front if it was.
  void quit(int processIdentifier) {
    if (front_ && front_->info.processIdentifier == processIdentifier) front_ = nullptr;
    std::erase_if(applications_, [&](const auto& application) {
      return application.info.processIdentifier == processIdentifier;
    });
  }

  void activate(MemoryApplication& application) { front_ = &application; }

  /// Pell's own window comes to the front.
  void activateSelf() {
    auto* self = find(ownProcess);
    if (!self) {
      self = &launch({.bundleIdentifier = "com.pell.dictation",
                      .localizedName = "Pell",
                      .processIdentifier = ownProcess});
    }
    front_ = self;
  }

  void deactivateAll() { front_ = nullptr; }

  MemoryApplication* frontmost() const { return front_; }
  MemoryApplication* find(int processIdentifier) {
    for (auto& application : applications_) {
      if (application.info.processIdentifier == processIdentifier) return &application;
    }
    return nullptr;
  }

  /// The element with the keyboard focus, or null.
  std::shared_ptr<MemoryElement> focus() const { return front_ ? front_->focus : nullptr; }

 private:
  std::list<MemoryApplication> applications_;
  MemoryApplication* front_ = nullptr;
  int nextProcess_ = 5000;
};

}  // namespace pell::testing
