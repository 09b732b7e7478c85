// The product's mark: vertical rounded bars in a unit square, the origin at the top left.
#pragma once

#include <string_view>
#include <utility>
#include <vector>

#include "pipeline/DictationPhase.h"

namespace pell::mark {

struct Bar {
  double x = 0, y = 0, w = 0, h = 0;
  bool operator==(const Bar&) const = default;
};

/// The 55 bars of the full cut: a ring of 38 around a wave of 17.
const std::vector<Bar>& fullCut();

inline constexpr double fullBarWidth = 0.026;

/// The smallest left edge and the largest right edge of `bars`.
std::pair<double, double> span(const std::vector<Bar>& bars);

enum class MenuBarPhase { idle, recording, transcribing };

/// A message on show counts as idle.
MenuBarPhase menuBarPhase(const DictationPhase& phase);

/// What assistive technology reads for the tray item.
std::string_view accessibleDescription(MenuBarPhase phase);

/// The bars of the tray image, in pixels of an image that is `height` high and 0.95 times as wide.
std::vector<Bar> menuBarBars(double height);

/// The opacity of the tray mark `seconds` after its pulse began: from 1.0 to 0.45 and back in 1.4 s.
double pulseOpacity(double seconds);

}  // namespace pell::mark
