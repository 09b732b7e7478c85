// The microphone.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace pell {

enum class MicrophoneAuthorization { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

struct AudioSettings {
  double sampleRate = 16000.0;  // Hz
  int channels = 1;
  int bitRate = 32000;  // bits a second, AAC
  bool operator==(const AudioSettings&) const = default;
};

/// One recording into one file: AAC in an MPEG-4 container. Main thread.
class AudioRecording {
 public:
  virtual ~AudioRecording() = default;

  virtual void setMeteringEnabled(bool enabled) = 0;

  /// False when the capture cannot start.
  virtual bool record() = 0;

  /// Ends the recording; the file is complete and playable when this returns. Bounded.
  virtual void stop() = 0;

  /// Takes a fresh reading for `averagePower`.
  virtual void updateMeters() = 0;

  /// Decibels, from about -160 (silence) to 0 (full scale).
  virtual double averagePower(int channel) const = 0;

  /// Called on the main thread, at most once, when the capture dies by itself (the microphone was
  /// unplugged, the sound server went away). `stop` is still to be called.
  std::function<void(std::string description)> onFailure;
};

struct AudioFailure {
  std::string description;
};

using AudioOpening = std::variant<std::unique_ptr<AudioRecording>, AudioFailure>;

class AudioCapture {
 public:
  virtual ~AudioCapture() = default;

  /// Cached; cheap. Main thread.
  virtual MicrophoneAuthorization authorization() const = 0;

  /// True if there is a microphone to record from. Cached; cheap.
  virtual bool hasDefaultDevice() const = 0;

  /// Asks the user. The answer may come on any thread, once; it is false only where access was refused. Where
  /// nobody could decide, as with no sound server, `authorization` stays undetermined and a recording tells
  /// what is missing.
  virtual void requestAccess(std::function<void(bool granted)> answer) = 0;

  /// Prepares a recording into `file`, which exists afterwards and holds nothing yet. It is the user's alone
  /// from its first instant.
  virtual AudioOpening open(const std::filesystem::path& file, const AudioSettings& settings) = 0;
};

}  // namespace pell
