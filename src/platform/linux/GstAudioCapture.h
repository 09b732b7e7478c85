// The microphone, through GStreamer and the desktop's sound server.
#pragma once

#include <future>
#include <memory>

#include "async/Executor.h"
#include "platform/AudioCapture.h"
#include "platform/UserDefaults.h"
#include "stores/Log.h"

namespace pell {

class CapturePipeline;
class PulseSources;

/// Keeps one pipeline ready, so that a recording starts at once; between recordings nothing is captured and
/// nothing runs. Permission is undetermined until a capture was once allowed, which is remembered in
/// "microphoneAllowed"; it is denied only where the sound server turns us away. What goes wrong is logged
/// here, where its cause is known.
class GstAudioCapture : public AudioCapture {
 public:
  /// Loads the encoder in the background.
  GstAudioCapture(Executor& main, UserDefaults& defaults, const Log& log);
  ~GstAudioCapture() override;

  MicrophoneAuthorization authorization() const override;
  bool hasDefaultDevice() const override;
  void requestAccess(std::function<void(bool granted)> answer) override;

  /// Waits for a loading that is still under way. A sound server that does not answer within a second
  /// counts as absent.
  AudioOpening open(const std::filesystem::path& file, const AudioSettings& settings) override;

 private:
  using Pipeline = std::shared_ptr<CapturePipeline>;
  using Building = std::variant<Pipeline, AudioFailure>;
  AudioOpening openWithoutReport(const std::filesystem::path& file, const AudioSettings& settings);
  void remember();
  void awaitAllowance();
  Building takePipeline(const AudioSettings& settings);
  void prepareNext();

  Executor& main_;
  UserDefaults& defaults_;
  Log log_;
  std::unique_ptr<PulseSources> sources_;
  AudioSettings prepared_;
  std::future<Building> next_;
  /// Callbacks that come late look here first whether this object is still there.
  std::shared_ptr<GstAudioCapture*> self_;
};

}  // namespace pell
