// The window that floats, and the screens on which it may stand, as the panel's controller sees them.
#pragma once

#include <optional>
#include <vector>

namespace pell {

// Points; y grows upwards, and an origin is the lower left corner. Where a desktop counts from the top of a
// height H, a rectangle that begins at y has its origin at H - y - height, and the row y of the mouse is
// H - 1 - y: at H - y the topmost row would lie on no screen, since the upper edge belongs to none.

struct PanelSize {
  double width = 0, height = 0;
  bool operator==(const PanelSize&) const = default;
};

struct PanelPoint {
  double x = 0, y = 0;
  bool operator==(const PanelPoint&) const = default;
};

struct PanelRect {
  PanelPoint origin;
  PanelSize size;
  bool operator==(const PanelRect&) const = default;

  /// The lower and left edges belong to it, the others do not.
  bool contains(PanelPoint point) const {
    return point.x >= origin.x && point.x < origin.x + size.width && point.y >= origin.y &&
           point.y < origin.y + size.height;
  }
};

/// Stands above everything on every desktop, never takes the focus, and does not hide when Pell is not
/// active. Main thread only; nothing here fails.
class PanelWindow {
 public:
  virtual ~PanelWindow() = default;

  virtual PanelRect frame() const = 0;
  virtual bool isVisible() const = 0;

  virtual void setContentSize(PanelSize size) = 0;
  virtual void setHasShadow(bool hasShadow) = 0;
  virtual void setFrameOrigin(PanelPoint origin) = 0;
  virtual void invalidateShadow() = 0;
  virtual void orderFront() = 0;
  virtual void orderOut() = 0;
};

/// Main thread only.
class PanelScreens {
 public:
  struct Screen {
    PanelRect frame;
    PanelRect visibleFrame;  // without the desktop's own panels
    bool operator==(const Screen&) const = default;
  };

  virtual ~PanelScreens() = default;
  virtual PanelPoint mouseLocation() const = 0;
  virtual std::vector<Screen> screens() const = 0;

  /// The screen that counts as the user's; absent only where there is none at all.
  virtual std::optional<Screen> mainScreen() const = 0;
};

}  // namespace pell
