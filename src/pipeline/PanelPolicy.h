// What floats above other applications, and when.
#pragma once

#include <string_view>

#include "pipeline/PanelContext.h"

namespace pell {

/// Nothing, the idle bar, or the full display of a dictation.
enum class PanelPresentation { hidden, collapsed, expanded };

struct PanelPolicy {
  static constexpr int windowLevel = 1001;

  /// A running dictation shows wherever the window does not show it itself; the idle bar only over other
  /// applications. Pure.
  static PanelPresentation presentation(const PanelContext& context);
};

}  // namespace pell
