// Which microphones the sound server has, and whether it lets us use them.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <pulse/pulseaudio.h>

#include "async/Time.h"

namespace pell {

/// Keeps one idle connection to the sound server (PulseAudio, or PipeWire in its place), follows its sources
/// and connects again when it comes back. Without a server there is no microphone. Reads are cached; any
/// thread.
class PulseSources {
 public:
  PulseSources();
  ~PulseSources();
  PulseSources(const PulseSources&) = delete;
  PulseSources& operator=(const PulseSources&) = delete;

  /// A source that is more than the echo of what a loudspeaker plays.
  bool hasMicrophone() const { return microphones_ > 0; }

  /// The server has told which sources there are.
  bool isKnown() const { return known_; }

  /// The server turned us away when we last asked it for something.
  bool isRefused() const { return refused_; }

  enum class Access { granted, refused, unknown };

  /// Opens a capture for a moment. The answer comes once, on a thread of the sound server's client.
  void tryAccess(std::function<void(Access)> answer);

 private:
  struct Attempt;
  void connect();
  void retry();
  void list();
  void onContextState();
  void noteRefusal();
  void finish(Attempt& attempt, Access access);

  std::atomic<int> microphones_ = 0;
  std::atomic<bool> known_ = false;
  std::atomic<bool> refused_ = false;

  // Under the loop's lock.
  pa_threaded_mainloop* loop_ = nullptr;
  pa_context* context_ = nullptr;
  pa_time_event* retry_ = nullptr;
  Seconds retryDelay_{};
  int counted_ = 0;
  std::unique_ptr<Attempt> attempt_;
};

}  // namespace pell
