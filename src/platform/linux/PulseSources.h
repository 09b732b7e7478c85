// Which microphones the sound server has, and whether it lets us use them.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <pulse/pulseaudio.h>

#include "async/Time.h"

namespace pell {

/// Keeps one idle connection to the sound server (PulseAudio, or PipeWire in its place), follows its sources
/// and connects again when it comes back. Without a server there is no microphone. Until the server has
/// answered for the first time, or is known not to be there, one is taken for granted: nobody is to be told
/// at the start of the program that there is none. Reads are cached; any thread.
class PulseSources {
 public:
  PulseSources();
  ~PulseSources();
  PulseSources(const PulseSources&) = delete;
  PulseSources& operator=(const PulseSources&) = delete;

  /// A source that is more than the echo of what a loudspeaker plays.
  bool hasMicrophone() const { return microphones_ > 0 || !settled_; }

  /// The server has told which sources there are.
  bool isKnown() const { return known_; }

  /// The server turned us away when we last asked it for something.
  bool isRefused() const { return refused_; }

  enum class Access { granted, refused, unknown };

  /// Opens a capture for a moment, once a connection that is on its way stands. The answer comes once, on a
  /// thread of the sound server's client or inside the call.
  void tryAccess(std::function<void(Access)> answer);

  /// Tries again with each connection to the server, and every few seconds while one stands, until a capture
  /// was allowed; then calls `allowed`, once, on a thread of the sound server's client.
  void whenAllowed(std::function<void()> allowed);

 private:
  struct Attempt;
  void connect();
  void retry();
  void list();
  void onContextState();
  void onReady();
  void noteRefusal();
  void awaitAllowance();
  void tryAgainLater();
  void beginAttempt(std::function<void(Access)> answer);
  void startAttempt();
  void finishAttempt(Access access);

  std::atomic<bool> settled_ = false;
  std::atomic<int> microphones_ = 0;
  std::atomic<bool> known_ = false;
  std::atomic<bool> refused_ = false;

  // Under the loop's lock.
  pa_threaded_mainloop* loop_ = nullptr;
  pa_context* context_ = nullptr;
  pa_time_event* retry_ = nullptr;
  pa_time_event* again_ = nullptr;
  Seconds retryDelay_{};
  int counted_ = 0;
  std::unique_ptr<Attempt> attempt_;
  std::function<void()> allowed_;
};

}  // namespace pell
