// Carries out on a window what the panel's policy decides.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "async/Observable.h"
#include "pipeline/PanelPolicy.h"
#include "pipeline/PanelWindow.h"

namespace pell {

class Log;

/// What the panel's views share with its controller.
struct PanelState {
  Observable<PanelPresentation> presentation{PanelPresentation::expanded};  // taken on without animation
  Observable<bool> hovering{false};  // the mouse is over the idle bar; only ever true while it is shown
};

/// Shows, places and hides the one floating window. It is made on first need and then kept.
///
/// Main thread only. With nothing changed a call costs one look at the screens and touches no window, so
/// it may be called at every poll.
class FloatingPanelController {
 public:
  static constexpr PanelSize barSize{240, 88};  // more than is drawn at rest: room for the card above
  static constexpr PanelSize hudSize{340, 74};
  static constexpr double barInset = 8;  // from the bottom of what the desktop leaves free
  static constexpr double hudInset = 90;

  struct Dependencies {
    std::function<std::unique_ptr<PanelWindow>(PanelSize initial, PanelState& state)> makeWindow;
    const PanelScreens& screens;
    const Log& log;
  };

  explicit FloatingPanelController(Dependencies dependencies);
  FloatingPanelController(const FloatingPanelController&) = delete;
  FloatingPanelController& operator=(const FloatingPanelController&) = delete;

  /// `trigger` is a word for the log.
  void apply(PanelPresentation presentation, std::string_view trigger);
  void hide();

  PanelState& state() { return state_; }

  static PanelSize contentSize(PanelPresentation presentation);

 private:
  void takeOn(PanelPresentation presentation);
  std::optional<PanelScreens::Screen> screenUnderMouse() const;
  void logShown(PanelPresentation presentation, std::string_view trigger) const;

  Dependencies dependencies_;
  PanelState state_;
  PanelPresentation current_ = PanelPresentation::hidden;
  std::unique_ptr<PanelWindow> window_;  // goes first: its views hold the state
};

}  // namespace pell
