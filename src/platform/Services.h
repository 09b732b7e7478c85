// The small services: sounds, activity, the login item, the log's sink, the wall clock.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "async/Time.h"

namespace pell {

class SoundPlayer {
 public:
  virtual ~SoundPlayer() = default;

  /// Plays a named cue ("Tink", "Pop") and returns at once. An unknown name is silent.
  virtual void play(std::string_view name) = 0;
};

/// Held while the user is waited for; destroying it ends the activity.
class ActivityToken {
 public:
  virtual ~ActivityToken() = default;
};

class SystemActivity {
 public:
  virtual ~SystemActivity() = default;

  /// Keeps the machine from idling to sleep. Never null and never blocks.
  virtual std::unique_ptr<ActivityToken> begin(std::string_view reason) = 0;
};

/// Status numbers are the platform's; 1 is enabled.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  virtual int status() const = 0;

  /// Empty on success, else what went wrong.
  virtual std::string setRegistered(bool registered) = 0;
};

enum class LogLevel { debug, info, warn, error };

class LogSink {
 public:
  virtual ~LogSink() = default;

  /// Takes one line of JSON without its line break. Any thread.
  virtual void write(LogLevel level, std::string_view line) = 0;
};

class WallClock {
 public:
  virtual ~WallClock() = default;
  virtual Date now() const = 0;
};

}  // namespace pell
