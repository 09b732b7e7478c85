#pragma once

#include <string_view>

namespace pell {

/// One row of a table of rules that is shipped: which cleanup style is for an application or a site.
struct StyleRule {
  std::string_view key;  // bundle identifier or host
  std::string_view style;
};

}  // namespace pell
