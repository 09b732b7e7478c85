// The general clipboard.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pell {

/// The type under which plain UTF-8 text stands on the pasteboard.
inline constexpr std::string_view pasteboardTypeString = "public.utf8-plain-text";

/// The type by which other programs know content that is not to be recorded, by a public convention.
inline constexpr std::string_view pasteboardConcealedType = "org.nspasteboard.ConcealedType";

/// One item: the same content in one or more types, each with its bytes, in the owner's order.
struct PasteboardItem {
  std::vector<std::pair<std::string, std::string>> representations;

  bool operator==(const PasteboardItem&) const = default;
  const std::string* data(std::string_view type) const {
    for (const auto& [name, bytes] : representations) {
      if (name == type) return &bytes;
    }
    return nullptr;
  }
};

/// Main thread. Reads are bounded: an owner that does not answer counts as holding nothing.
class Pasteboard {
 public:
  virtual ~Pasteboard() = default;

  /// Every item with every type whose data could be read, byte for byte. Types of the adapter's own
  /// protocol are left out, so that writing the result back gives what was there.
  virtual std::vector<PasteboardItem> items() = 0;

  /// The plain text, if there is one.
  virtual std::optional<std::string> string() = 0;

  virtual void clearContents() = 0;
  virtual void writeItems(std::vector<PasteboardItem> items) = 0;
};

}  // namespace pell
