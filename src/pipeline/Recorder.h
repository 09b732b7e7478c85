// The microphone during one dictation.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "async/Executor.h"
#include "async/Task.h"
#include "platform/AudioCapture.h"
#include "platform/Words.h"

namespace pell {

class Log;
class WallClock;

/// Records into a private scratch file, gives the bytes back as one block when it stops, and removes the
/// file at that moment: recorded speech never stays on disk longer than its dictation. It shows nothing
/// itself; whoever drives it reads `state`.
///
/// Main thread only.
class Recorder {
 public:
  struct Idle {
    bool operator==(const Idle&) const = default;
  };
  struct RequestingPermission {
    bool operator==(const RequestingPermission&) const = default;
  };
  struct Recording {
    bool operator==(const Recording&) const = default;
  };
  struct Failed {
    std::string message;  // for the user
    bool operator==(const Failed&) const = default;
  };
  using State = std::variant<Idle, RequestingPermission, Recording, Failed>;

  /// Files younger than this may belong to a dictation that is running.
  static constexpr Seconds orphanGrace{900.0};
  static constexpr std::string_view contentType = "audio/mp4";

  struct Dependencies {
    AudioCapture& audio;
    Executor& main;
    const WallClock& clock;
    std::filesystem::path scratch;  // the directory of the files; private to the user where there is one
    Words words;
    const Log& log;
  };

  explicit Recorder(Dependencies dependencies);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  ~Recorder();

  /// Called after every change of state and on each metering tick. One observer.
  std::function<void()> onChange;

  const State& state() const { return state_; }

  /// Whole seconds since the recording began; keeps its last value after `stop`.
  int elapsedSeconds() const { return elapsedSeconds_; }

  /// The smoothed input level, 0 to 1; 0 when nothing is recorded.
  double level() const { return level_; }

  /// Whether the microphone may be used; asks the user where that was never answered.
  Task<bool> requestPermission();

  /// True once a recording runs, also when one ran before. False leaves the reason in `state`. A `stop`
  /// during the permission prompt does not prevent the recording from starting afterwards.
  Task<bool> start();

  /// Ends the recording and gives its audio; the file is gone when this returns. Absent when nothing was
  /// recorded or the file could not be read or held nothing. Also clears a failure.
  std::optional<std::string> stop();

  /// Ends the recording and drops its audio.
  void cancel() { stop(); }

  /// Back from a failure to idle; nothing in the other states.
  void clearFailure();

  /// Removes what a crash has left in `directory`: recordings that are at least `grace` old at `now`.
  /// Gives how many went; what cannot be listed or removed is passed over.
  int sweepOrphans(const std::filesystem::path& directory, Date now, Seconds grace = orphanGrace) const;

  /// Where this recorder keeps its files; the directory to sweep.
  const std::filesystem::path& scratch() const { return dependencies_.scratch; }

 private:
  struct Capture {
    std::unique_ptr<AudioRecording> recording;
    std::filesystem::path file;
  };

  std::filesystem::path scratchURL() const;
  bool openCapture();
  bool failStart(std::string message);
  void loseMicrophone();
  void discardCapture();
  void startTicking();
  void tick(Date start);
  void setState(State state);

  Dependencies dependencies_;
  State state_;
  int elapsedSeconds_ = 0;
  double level_ = 0;
  std::optional<Capture> capture_;
  RepeatingTimer timer_;
};

}  // namespace pell
