// Global keyboard and mouse events.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace pell {

/// Event types, with the system's numbers.
enum class TapEventType : std::uint32_t {
  leftMouseDown = 1,
  rightMouseDown = 3,
  keyDown = 10,
  flagsChanged = 12,
  tapDisabledByTimeout = 0xFFFFFFFE,
  tapDisabledByUserInput = 0xFFFFFFFF,
};

/// Virtual key codes. Adapters map their own keys to these.
namespace keycode {
inline constexpr int v = 9;
inline constexpr int space = 49;
inline constexpr int escape = 53;
inline constexpr int rightCommand = 54;
inline constexpr int leftOption = 58;
inline constexpr int rightOption = 61;
inline constexpr int other = 255;  // any key that nothing here asks for
}  // namespace keycode

/// Modifier flags, after the event for `flagsChanged`.
namespace modifier {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
inline constexpr std::uint64_t function = 0x800000;
}  // namespace modifier

struct TapEvent {
  TapEventType type = TapEventType::keyDown;
  int keyCode = keycode::other;
  std::uint64_t flags = 0;
};

enum class TapMode {
  listenOnly,  // events cannot be held up or changed
  active,      // the callback may swallow an event by returning true
};

/// A running tap. Destroying it ends the events at once.
class EventTap {
 public:
  virtual ~EventTap() = default;
  virtual void setEnabled(bool enabled) = 0;

  /// Tells the tap that the modifier now held was used as a trigger, so that its release must not act
  /// as a lone press of that key in the focused application (some open their menu bar on a bare Alt).
  /// A platform whose modifiers do nothing alone does nothing here.
  virtual void maskModifierRelease() = 0;
};

class EventTapService {
 public:
  /// Runs on the main thread and must return quickly. True swallows the event (active taps only).
  using Callback = std::function<bool(const TapEvent&)>;

  virtual ~EventTapService() = default;

  /// Key-down, flags-changed, left and right mouse-down events of the whole session. Null when the
  /// grant is missing or the service is not there. Main thread.
  virtual std::unique_ptr<EventTap> createTap(TapMode mode, Callback callback) = 0;
};

}  // namespace pell
