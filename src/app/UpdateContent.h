// What a user reads whose version the service no longer supports.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Words.h"

namespace pell {

enum class UpdateAction { dismiss, openDownload };

struct UpdateContent {
  struct Button {
    std::string title;
    UpdateAction action;
    bool operator==(const Button&) const = default;
  };

  std::string heading;
  std::vector<std::string> paragraphs;
  std::vector<Button> buttons;
  bool operator==(const UpdateContent&) const = default;
};

struct UpdateInput {
  std::string version;                 // of the running program
  std::optional<std::string> message;  // the operators' own, where they sent one
  bool hasDownload = true;             // this build knows where to get another
};

UpdateContent updateContent(const UpdateInput& input, const Words& words);

}  // namespace pell
