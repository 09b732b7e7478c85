// What Return does in a list and in a quote.
#pragma once

#include <optional>
#include <string_view>

#include "editor/TextRange.h"

namespace pell {

class EditorController;

struct ReturnRules {
  /// Whether the view may make the change it asks about. False if a rule has done the work instead: an item
  /// goes on as the next one, an empty item or an empty line of a quote becomes a plain line. Main thread.
  static bool allowsChange(EditorController& controller, TextRange range,
                           std::optional<std::u16string_view> replacement);
};

}  // namespace pell
