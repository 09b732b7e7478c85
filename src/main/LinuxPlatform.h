// Everything that Pell asks of its platform, on an X11 desktop.
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "platform/Platform.h"
#include "platform/linux/AtspiAccessibility.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/GstAudioCapture.h"
#include "platform/linux/LogindActivity.h"
#include "platform/linux/PulseSoundPlayer.h"
#include "platform/linux/X11EventTap.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/X11SecureEntry.h"
#include "platform/linux/X11SyntheticInput.h"
#include "platform/linux/X11Workspace.h"
#include "platform/qt/QtMainLoop.h"
#include "platform/qt/QtOwnElements.h"

namespace pell {

class Essentials;

/// Made on the main thread after the `QApplication` and before anything that it serves.
class LinuxPlatform {
 public:
  struct Unavailable {
    std::string reason;  // a sentence for standard error
  };
  using Opening = std::variant<std::unique_ptr<LinuxPlatform>, Unavailable>;

  /// Everything stands or the reason is told. What may come and go at run time (the sound server, the
  /// accessibility bus, the keyring) is no reason.
  static Opening open(Essentials& essentials);

  Platform record();
  MainLoop& main() { return main_; }
  X11Pasteboard& pasteboard() { return *pasteboard_; }

 private:
  struct Desktop {
    std::unique_ptr<X11Workspace> workspace;
    std::unique_ptr<X11Pasteboard> pasteboard;
    std::unique_ptr<X11SyntheticInput> input;
    std::unique_ptr<X11SecureEntry> secureEntry;
  };

  LinuxPlatform(Essentials& essentials, Desktop desktop);

  Essentials& essentials_;
  QtMainLoop main_;
  std::unique_ptr<X11Workspace> workspace_;
  std::unique_ptr<X11Pasteboard> pasteboard_;
  std::unique_ptr<X11SyntheticInput> input_;
  std::unique_ptr<X11SecureEntry> secureEntry_;
  QtOwnElements ownElements_;
  AtspiAccessibility accessibility_;
  X11EventTapService eventTaps_;
  GstAudioCapture audio_;
  AutostartLoginItem loginItem_;
  LogindActivity activity_;
  PulseSoundPlayer sounds_;
};

}  // namespace pell
