// Everything that the logic asks of its platform, in one record.
#pragma once

#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "async/Executor.h"
#include "platform/BuildInfo.h"
#include "platform/Installation.h"
#include "platform/StyleRule.h"
#include "platform/Words.h"

namespace pell {

class AccessibilityTree;
class AudioCapture;
class EventTapService;
class HttpSession;
class LogSink;
class LoginItem;
class Pasteboard;
class SecureEntry;
class SecureItemStore;
class SoundPlayer;
class SyntheticInput;
class SystemActivity;
class UserDefaults;
class WallClock;
class Workspace;

/// Borrowed: whoever makes the record keeps the services alive as long as anything that was given it.
struct Platform {
  MainLoop& main;
  SerialExecutorFactory makeSerialExecutor;
  WallClock& clock;
  BuildInfo build;
  Locations locations;
  Installation installation;
  Words words;
  /// For the platform's own applications; shipped beside the rules that every platform has.
  std::span<const StyleRule> styleRules;
  std::string localeOfDates;  // as ICU names it; decides how dates are written
  LogSink& log;
  UserDefaults& defaults;
  EventTapService& eventTaps;
  AccessibilityTree& accessibility;
  SecureEntry& secureEntry;
  SyntheticInput& input;
  Pasteboard& pasteboard;
  AudioCapture& audio;
  Workspace& workspace;
  SecureItemStore& secureItems;
  HttpSession& http;
  LoginItem& loginItem;
  SystemActivity& activity;
  SoundPlayer& sounds;
  /// Whether a family of fonts is there at every size. May read all that are installed, in some milliseconds.
  std::function<bool(std::string_view family)> hasFontFamily;
  std::set<std::string> browsers = {};  // bundle identifiers of those that only this platform has
};

}  // namespace pell
