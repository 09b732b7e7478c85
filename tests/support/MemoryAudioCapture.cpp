#include "support/MemoryAudioCapture.h"

#include <fstream>

namespace pell::testing {

class MemoryAudioCapture::Recording final : public AudioRecording {
 public:
  Recording(MemoryAudioCapture& capture, std::filesystem::path file, std::shared_ptr<State> state)
      : capture_(capture), file_(std::move(file)), state_(std::move(state)) {
    state_->recording = this;
  }

  void setMeteringEnabled(bool enabled) override { metering_ = enabled; }

  bool record() override {
    if (!capture_.recordSucceeds) return false;
    state_->running = true;
    state_->captured = true;
    return true;
  }

  void stop() override {
    state_->running = false;
    if (!std::exchange(state_->captured, false)) return;
    std::ofstream(file_, std::ios::binary | std::ios::trunc) << capture_.payload;
  }

  void updateMeters() override {
    if (metering_ && state_->running) power_ = capture_.power;
  }
  double averagePower(int) const override { return power_; }

  /// Like a real one, it reads members of its own after it has told of its end.
  void fail(const std::string& description) {
    if (onFailure) onFailure(description);
    power_ = -160.0;
  }

 private:
  MemoryAudioCapture& capture_;
  std::filesystem::path file_;
  std::shared_ptr<State> state_;
  bool metering_ = false;
  double power_ = -160.0;
};

void MemoryAudioCapture::die(const std::string& description) {
  for (const auto& weak : states_) {
    auto state = weak.lock();
    if (!state || !state->running) continue;
    state->running = false;
    time_.main().post([weak, description] {
      auto still = weak.lock();
      if (still && still->recording) still->recording->fail(description);
    });
  }
}

AudioOpening MemoryAudioCapture::open(const std::filesystem::path& file, const AudioSettings&) {
  if (openFailure) return AudioFailure{*openFailure};
  if (!hasDevice) return AudioFailure{"There is no microphone."};
  files.push_back(file);
  if (!std::ofstream(file, std::ios::binary | std::ios::trunc))
    return AudioFailure{"The file cannot be made."};
  std::filesystem::permissions(file, std::filesystem::perms(0600));
  auto state = std::make_shared<State>();
  states_.push_back(state);
  return std::make_unique<Recording>(*this, file, std::move(state));
}

}  // namespace pell::testing
