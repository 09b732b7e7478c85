#include "pipeline/FloatingPanelController.h"

#include <cmath>
#include <fmt/core.h>
#include <utility>

#include "stores/Log.h"

namespace pell {
namespace {

PanelPoint placeOn(const PanelScreens::Screen& screen, double width, PanelPresentation presentation) {
  const PanelRect& free = screen.visibleFrame;
  const bool bar = presentation == PanelPresentation::collapsed;
  return {.x = std::round(free.origin.x + free.size.width / 2 - width / 2),
          .y = free.origin.y + (bar ? FloatingPanelController::barInset : FloatingPanelController::hudInset)};
}

}  // namespace

FloatingPanelController::FloatingPanelController(Dependencies dependencies)
    : dependencies_(std::move(dependencies)) {}

PanelSize FloatingPanelController::contentSize(PanelPresentation presentation) {
  return presentation == PanelPresentation::collapsed ? barSize : hudSize;
}

void FloatingPanelController::apply(PanelPresentation presentation, std::string_view trigger) {
  if (presentation == PanelPresentation::hidden) {
    hide();
    return;
  }
  if (!window_) window_ = dependencies_.makeWindow(hudSize, state_);
  const bool changed = presentation != current_;
  if (changed) takeOn(presentation);

  const auto screen = screenUnderMouse();
  if (!screen && !changed) return;
  if (screen) {
    const PanelRect frame = window_->frame();
    const PanelPoint origin = placeOn(*screen, frame.size.width, presentation);
    if (!changed && frame.origin == origin) return;
    window_->setFrameOrigin(origin);
    window_->invalidateShadow();
  }
  window_->orderFront();
  if (!changed) return;
  current_ = presentation;
  logShown(presentation, trigger);
}

void FloatingPanelController::takeOn(PanelPresentation presentation) {
  const bool bar = presentation == PanelPresentation::collapsed;
  state_.presentation = presentation;
  if (!bar) state_.hovering = false;
  window_->setContentSize(contentSize(presentation));
  window_->setHasShadow(!bar);  // the bar draws its own
}

std::optional<PanelScreens::Screen> FloatingPanelController::screenUnderMouse() const {
  const PanelPoint mouse = dependencies_.screens.mouseLocation();
  for (const auto& screen : dependencies_.screens.screens()) {
    if (screen.frame.contains(mouse)) return screen;
  }
  return dependencies_.screens.mainScreen();
}

void FloatingPanelController::hide() {
  if (current_ == PanelPresentation::hidden) return;
  window_->orderOut();
  current_ = PanelPresentation::hidden;
  state_.hovering = false;
  dependencies_.log.info("hud_hidden");
}

void FloatingPanelController::logShown(PanelPresentation presentation, std::string_view trigger) const {
  const PanelRect frame = window_->frame();
  dependencies_.log.info(presentation == PanelPresentation::collapsed ? "bar_shown" : "hud_shown",
                         {{"frame", fmt::format("{{{{{}, {}}}, {{{}, {}}}}}", frame.origin.x, frame.origin.y,
                                                frame.size.width, frame.size.height)},
                          {"visible", window_->isVisible()},
                          {"trigger", trigger}});
}

}  // namespace pell
