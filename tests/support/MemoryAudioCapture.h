#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AudioCapture.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// A microphone: scripted level, permission, failures; recordings are real small files.
class MemoryAudioCapture final : public AudioCapture {
 public:
  explicit MemoryAudioCapture(VirtualTime& time) : time_(time) {}

  // Scripted.
  MicrophoneAuthorization status = MicrophoneAuthorization::authorized;
  bool hasDevice = true;
  std::optional<std::string> openFailure;  // the description
  bool recordSucceeds = true;
  double power = -20.0;  // decibels
  std::string payload = "....ftypM4A .... some encoded speech";

  // Recorded.
  std::vector<std::filesystem::path> files;

  /// Streams that are capturing at this moment.
  std::size_t liveStreams() const {
    std::size_t count = 0;
    for (const auto& weak : states_) {
      auto state = weak.lock();
      if (state && state->running) ++count;
    }
    return count;
  }

  /// The user answers every open permission prompt.
  void answerAccess(bool granted) {
    status = granted ? MicrophoneAuthorization::authorized : MicrophoneAuthorization::denied;
    for (auto& answer : std::exchange(prompts_, {})) answer(granted);
  }
  /// Nobody is there who could decide.
  void answerUndecided() {
    for (auto& answer : std::exchange(prompts_, {})) answer(true);
  }
  bool isAsking() const { return !prompts_.empty(); }

  /// The microphone is unplugged.
  void loseDevice(const std::string& description) {
    hasDevice = false;
    die(description);
  }

  /// Every running capture dies by itself.
  void die(const std::string& description);

  MicrophoneAuthorization authorization() const override { return status; }
  bool hasDefaultDevice() const override { return hasDevice; }

  void requestAccess(std::function<void(bool granted)> answer) override {
    if (status == MicrophoneAuthorization::notDetermined) {
      prompts_.push_back(std::move(answer));
    } else {
      answer(status == MicrophoneAuthorization::authorized);
    }
  }

  AudioOpening open(const std::filesystem::path& file, const AudioSettings& settings) override;

 private:
  class Recording;
  struct State {
    bool running = false;
    bool captured = false;
    Recording* recording = nullptr;
  };

  VirtualTime& time_;
  std::vector<std::weak_ptr<State>> states_;
  std::vector<std::function<void(bool)>> prompts_;
};

}  // namespace pell::testing
