#pragma once

#include <iterator>
#include <string>
#include <vector>

#include "platform/Pasteboard.h"

namespace pell::testing {

/// A clipboard with any formats.
class MemoryPasteboard final : public Pasteboard {
 public:
  bool ownerHangs = false;  // whoever owns the content does not answer
  int clears = 0;
  std::vector<std::vector<PasteboardItem>> writes;

  /// Another program puts its own content there.
  void otherPuts(std::vector<PasteboardItem> items) { content_ = std::move(items); }
  void otherPutsText(std::string text) {
    otherPuts({{.representations = {{std::string(pasteboardTypeString), std::move(text)}}}});
  }

  /// What another program gets of a type.
  std::optional<std::string> otherReads(std::string_view type) const {
    for (const auto& item : content_) {
      if (const auto* bytes = item.data(type)) return *bytes;
    }
    return std::nullopt;
  }

  std::vector<PasteboardItem> items() override {
    if (ownerHangs) return {};
    return content_;
  }
  std::optional<std::string> string() override {
    if (ownerHangs) return std::nullopt;
    return otherReads(pasteboardTypeString);
  }
  void clearContents() override {
    ++clears;
    ownerHangs = false;
    content_.clear();
  }
  void writeItems(std::vector<PasteboardItem> items) override {
    writes.push_back(items);
    ownerHangs = false;
    content_.insert(content_.end(), std::make_move_iterator(items.begin()),
                    std::make_move_iterator(items.end()));
  }

 private:
  std::vector<PasteboardItem> content_;
};

}  // namespace pell::testing
