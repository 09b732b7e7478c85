// A note, whole and as lists show it.
#pragma once

#include <string>

#include "async/Time.h"

namespace pell {

/// Identified by `id`. Its title is made of its text at every save.
struct Note {
  std::string id;
  std::string title;
  std::string rtf;   // bytes, as the editor loads them
  std::string text;  // the same, plain
  Date createdAt{};
  Date updatedAt{};
  bool operator==(const Note&) const = default;
};

/// A note without its rich bytes, so that a list never loads them. Identified by `id`.
struct NoteSummary {
  std::string id;
  std::string title;
  std::string preview;  // computed, never stored
  std::string text;
  Date createdAt{};
  Date updatedAt{};
  bool operator==(const NoteSummary&) const = default;
};

}  // namespace pell
