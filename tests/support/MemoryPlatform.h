// A whole desktop in memory, on virtual time.
#pragma once

#include "platform/Platform.h"
#include "support/MemoryAccessibilityTree.h"
#include "support/MemoryApplicationMover.h"
#include "support/MemoryAudioCapture.h"
#include "support/MemoryDesktop.h"
#include "support/MemoryEventTaps.h"
#include "support/MemoryHttpSession.h"
#include "support/MemoryInput.h"
#include "support/MemoryLog.h"
#include "support/MemoryPasteboard.h"
#include "support/MemorySecureItemStore.h"
#include "support/MemoryServices.h"
#include "support/MemoryUserDefaults.h"
#include "support/MemoryWorkspace.h"
#include "support/TemporaryDirectory.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// Owns every double. A test scripts and reads the members, and gives the `Platform` record, or single
/// services, to what it tests.
class MemoryPlatform {
 public:
  MemoryPlatform() {
    std::filesystem::create_directories(support());
    std::filesystem::create_directories(scratch());
  }

  VirtualTime time;
  TemporaryDirectory directory;
  BuildInfo build{.apiBaseUrl = "http://127.0.0.1:8787",
                  .allowsApiOverride = true,
                  .shortVersion = "1.0.0",
                  .bundleIdentifier = "com.pell.dictation",
                  .supportAddress = "help@example.com"};
  MemoryLog log;
  MemoryUserDefaults defaults;
  MemoryDesktop desktop{time};
  MemoryWorkspace workspace{desktop};
  MemoryAccessibilityTree accessibility{desktop};
  MemoryEventTaps taps{desktop};
  MemorySecureEntry secureEntry;
  MemoryPasteboard pasteboard;
  MemoryInput input{desktop, pasteboard};
  MemoryAudioCapture audio{time};
  MemorySecureItemStore secureItems{time};
  MemoryHttpSession http{time};
  MemoryLoginItem loginItem;
  MemoryActivity activity;
  MemorySounds sounds;
  std::set<std::string, std::less<>> fonts;
  MemoryApplicationMover mover;
  Installation installation{.bundle = "/Applications/Pell.app", .placement = {}, .mover = &mover};

  std::filesystem::path support() const { return directory.path() / "support"; }
  std::filesystem::path scratch() const { return directory.path() / "scratch"; }

  static Words words() {
    return [](std::string_view text) { return std::string(text); };
  }

  Platform platform() {
    return {.main = time.main(),
            .makeSerialExecutor = time.serialExecutors(),
            .clock = time,
            .build = build,
            .locations = {.applicationSupport = support(), .scratch = scratch()},
            .installation = installation,
            .words = words(),
            .localeOfDates = "en_US",
            .log = log,
            .defaults = defaults,
            .eventTaps = taps,
            .accessibility = accessibility,
            .secureEntry = secureEntry,
            .input = input,
            .pasteboard = pasteboard,
            .audio = audio,
            .workspace = workspace,
            .secureItems = secureItems,
            .http = http,
            .loginItem = loginItem,
            .activity = activity,
            .sounds = sounds,
            .hasFontFamily = [this](std::string_view family) { return fonts.contains(family); },
            .browsers = {"org.example.Navigator"}};
  }
};

}  // namespace pell::testing
