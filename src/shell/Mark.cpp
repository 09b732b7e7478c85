#include "shell/Mark.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace pell::mark {
namespace {

std::vector<Bar> makeFullCut() {
  constexpr int columns = 19;
  constexpr std::array<double, 9> waveHalf{.02, .035, .10, .165, .13, .065, .15, .235, .27};
  std::vector<Bar> bars;
  for (int i = 0; i < columns; ++i) {
    const double x = i * (1 - fullBarWidth) / (columns - 1);
    const double d = x + fullBarWidth / 2 - 0.5;
    const bool edge = i == 0 || i == columns - 1;
    const double outer = edge ? 0.125 : std::sqrt(0.25 - d * d);
    const double inner = edge ? 0.0 : std::sqrt(std::max(0.0, 0.405 * 0.405 - d * d));
    bars.push_back({x, 0.5 - outer, fullBarWidth, outer - inner});
    bars.push_back({x, 0.5 + inner, fullBarWidth, outer - inner});
    if (edge) continue;
    const int fromEdge = std::min(i - 1, columns - 2 - i);
    const double half = waveHalf[static_cast<std::size_t>(fromEdge)];
    bars.push_back({x, 0.5 - half, fullBarWidth, 2 * half});
  }
  return bars;
}

}  // namespace

const std::vector<Bar>& fullCut() {
  static const std::vector<Bar> bars = makeFullCut();
  return bars;
}

std::pair<double, double> span(const std::vector<Bar>& bars) {
  double left = 1, right = 0;
  for (const Bar& bar : bars) {
    left = std::min(left, bar.x);
    right = std::max(right, bar.x + bar.w);
  }
  return {left, right};
}

MenuBarPhase menuBarPhase(const DictationPhase& phase) {
  if (std::holds_alternative<phase::Recording>(phase)) return MenuBarPhase::recording;
  if (std::holds_alternative<phase::Transcribing>(phase)) return MenuBarPhase::transcribing;
  return MenuBarPhase::idle;
}

std::string_view accessibleDescription(MenuBarPhase phase) {
  switch (phase) {
    case MenuBarPhase::idle:
      return "Pell";
    case MenuBarPhase::recording:
      return "Pell, recording";
    case MenuBarPhase::transcribing:
      return "Pell, transcribing";
  }
  return "Pell";
}

std::vector<Bar> menuBarBars(double height) {
  const auto [left, right] = span(fullCut());
  const double pad = fullBarWidth * 0.8 * 0.5;
  const double scale = height * 0.95 / (right - left + 2 * pad);
  const double width = scale * fullBarWidth * 1.8;
  std::vector<Bar> bars;
  for (const Bar& bar : fullCut()) {
    bars.push_back({scale * (bar.x - left), bar.y * height, width, bar.h * height});
  }
  return bars;
}

double pulseOpacity(double seconds) {
  return (std::cos(seconds * 2 * std::numbers::pi / 1.4) + 1) * 0.5 * 0.55 + 0.45;
}

}  // namespace pell::mark
