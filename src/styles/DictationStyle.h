// The server's list of cleanup styles.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pell {

class WireObject;

/// A named way in which the server rewrites a transcript. The client does not know what it does: it
/// offers the style in menus and passes its identifier with an upload. Identified by `id`.
struct DictationStyle {
  std::string id;
  std::string title;
  std::string description;
  std::optional<std::string> group;                    // the section to which it belongs
  std::optional<std::vector<std::string>> supersedes;  // retired styles that this one replaces
  bool operator==(const DictationStyle&) const = default;
};

/// The reply of the catalogue endpoint.
struct CleanupStyleCatalogue {
  std::vector<DictationStyle> styles;              // every style on offer, in the server's order
  std::optional<std::vector<std::string>> groups;  // the wanted order of the sections
  std::string serverDefault;                       // used when nothing else decides
  bool operator==(const CleanupStyleCatalogue&) const = default;
};

/// Reading from JSON, for `decodeWire` of server/Wire.h.
void decode(const WireObject& object, DictationStyle& style);
void decode(const WireObject& object, CleanupStyleCatalogue& catalogue);

/// The JSON of a style list, as `decodeWire<std::vector<DictationStyle>>` reads it.
std::string encodeStyles(const std::vector<DictationStyle>& styles);

}  // namespace pell
