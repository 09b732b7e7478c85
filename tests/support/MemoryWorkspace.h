#pragma once

#include <string>
#include <vector>

#include "platform/Workspace.h"
#include "support/MemoryDesktop.h"

namespace pell::testing {

class MemoryWorkspace final : public Workspace {
 public:
  explicit MemoryWorkspace(MemoryDesktop& desktop) : desktop_(desktop) {}

  std::vector<std::string> opened;

  std::optional<RunningApplication> frontmostApplication() const override {
    if (auto* front = desktop_.frontmost()) return front->info;
    return std::nullopt;
  }
  bool isSelfActive() const override {
    auto* front = desktop_.frontmost();
    return front && front->info.processIdentifier == MemoryDesktop::ownProcess;
  }
  bool open(const std::string& address) override {
    opened.push_back(address);
    return true;
  }

 private:
  MemoryDesktop& desktop_;
};

}  // namespace pell::testing
