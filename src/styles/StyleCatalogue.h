// The style list arranged for display.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "styles/DictationStyle.h"

namespace pell {

class StyleCatalogue {
 public:
  /// The section of styles that name none.
  static constexpr std::string_view ungroupedSectionName = "Other";

  struct Group {
    std::string name;
    std::vector<DictationStyle> styles;
    bool operator==(const Group&) const = default;
  };

  /// The styles by section: first the sections that `order` names, in its sequence and as often as it
  /// names them, then those that it forgot, in the order in which they turn up. A section without styles
  /// is left out; no style is lost.
  static std::vector<Group> grouped(const std::vector<DictationStyle>& styles,
                                    const std::vector<std::string>& order);
};

}  // namespace pell
