// Between the pasteboard's types and the targets of X selections.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Pasteboard.h"

namespace pell {

/// How a selection's data is marked in transfer: the property's type and the width of its units in bits
/// (8, 16 or 32).
struct SelectionKind {
  std::string type;
  int format = 8;
  bool operator==(const SelectionKind&) const = default;
};

/// One format of a selection; 16- and 32-bit units stand in the machine's own order.
struct SelectionData {
  std::string target;
  SelectionKind kind;
  std::string bytes;
};

/// One target that we answer, with the data shared between targets that say the same.
struct SelectionOffer {
  std::string target;
  SelectionKind kind;
  std::shared_ptr<const std::string> bytes;
};

/// The kinds of targets that are not text, by target, so that what was read is given back as it was.
using SelectionKinds = std::map<std::string, SelectionKind, std::less<>>;

/// The targets of a snapshot, in the owner's order: without those of the protocol, those that act on the
/// owner (asking for DELETE deletes), those that name things inside the owner's process, and plain
/// conversions of text that is offered as UTF-8 too.
std::vector<std::string> targetsToRead(const std::vector<std::string>& offered);

/// What was read, as one item. Plain text goes under `pasteboardTypeString`, once.
PasteboardItem itemFromSelection(const std::vector<SelectionData>& read);

/// Everything to offer for these items: the first item that has a type gives it. Plain text is offered
/// under each of its usual names, and concealed content also tells clipboard managers in their own way.
std::vector<SelectionOffer> offersOf(const std::vector<PasteboardItem>& items, const SelectionKinds& kinds);

/// Plain text from any of the text targets; Latin-1 becomes UTF-8.
std::string textOf(const SelectionData& data);

}  // namespace pell
