// What the offer to move the application says.
#pragma once

#include <string>
#include <vector>

#include "app/RelocationState.h"
#include "platform/Words.h"

namespace pell {

enum class RelocationAction { dismiss, moveToApplications, openInstalledCopy, showInFileManager };

struct RelocationContent {
  struct Button {
    std::string title;
    RelocationAction action;
    bool operator==(const Button&) const = default;
  };

  std::string title;
  std::vector<std::string> paragraphs;
  std::vector<Button> buttons;
  std::string progress;  // beside a sign that something is under way; empty while nothing is
  bool operator==(const RelocationContent&) const = default;
};

RelocationContent relocationContent(const RelocationState& state, const Words& words);

}  // namespace pell
