// From the microphone to AAC in an MPEG-4 file, through GStreamer.
#pragma once

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <gst/gst.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

#include "async/Time.h"
#include "platform/AudioCapture.h"

namespace pell {

/// One capture, made ready beforehand so that it starts without delay, used once. A pipeline that waits
/// holds the encoder but no connection to the sound server. Calls come from one thread at a time.
class CapturePipeline {
 public:
  using Building = std::variant<std::shared_ptr<CapturePipeline>, AudioFailure>;

  /// Loads what is needed, which takes a moment the first time in a process.
  static Building build(const AudioSettings& settings);

  explicit CapturePipeline(GstElement* pipeline);
  ~CapturePipeline();
  CapturePipeline(const CapturePipeline&) = delete;
  CapturePipeline& operator=(const CapturePipeline&) = delete;

  /// Connects to the sound server. What went wrong, or nothing. May block while the server does.
  std::optional<AudioFailure> connect();

  /// Hears of the first failure, on a streaming thread, at most once. Set before `start`.
  void setFailureHandler(std::function<void(std::string)> handler);

  bool start(const std::filesystem::path& file);

  /// Writes the file to its end, waiting at most `limit` for it.
  void finish(Seconds limit);

  /// Lets go of the microphone and of the file. A container without a sound in it is nothing that anybody can
  /// play: the file is empty then.
  void close();

  /// Decibels of what came in since the last call; nothing if nothing came.
  std::optional<double> takePower();

 private:
  static GstBusSyncReply onMessage(GstBus*, GstMessage* message, gpointer self);
  static GstPadProbeReturn onBuffer(GstPad*, GstPadProbeInfo* info, gpointer self);
  void noteFailure(GstMessage& message);

  GstElement* pipeline_;
  GstElement* source_;
  GstElement* sink_;
  std::filesystem::path file_;  // while one is written

  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;
  std::optional<std::string> failure_;
  std::function<void(std::string)> onFailure_;

  std::mutex powerMutex_;
  double squares_ = 0;
  std::size_t samples_ = 0;
  bool heard_ = false;
};

}  // namespace pell
