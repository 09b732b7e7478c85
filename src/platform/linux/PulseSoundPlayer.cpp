#include "platform/linux/PulseSoundPlayer.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <list>
#include <mutex>
#include <pthread.h>
#include <pulse/pulseaudio.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "async/Time.h"
#include "platform/linux/Cues.h"

namespace pell {
namespace {

constexpr pa_sample_spec format{.format = PA_SAMPLE_S16NE, .rate = 48000, .channels = 1};

// A cue that the server was not there for in time would only confuse.
constexpr std::chrono::milliseconds stale{300};

constexpr std::size_t mostStreams = 4;

template <auto release>
struct PulseUnref {
  void operator()(auto* object) const { release(object); }
};
using Proplist = std::unique_ptr<pa_proplist, PulseUnref<pa_proplist_free>>;
using Loop = std::unique_ptr<pa_mainloop, PulseUnref<pa_mainloop_free>>;

/// One cue on its way out; it removes itself when the last sample was heard.
class Playing {
 public:
  Playing(pa_context* context, std::vector<std::int16_t> samples, std::function<void(Playing*)> over)
      : samples_(std::move(samples)), over_(std::move(over)) {
    Proplist facts(pa_proplist_new());
    pa_proplist_sets(facts.get(), PA_PROP_MEDIA_ROLE, "event");
    stream_ = pa_stream_new_with_proplist(context, "Cue", &format, nullptr, facts.get());
    if (!stream_) return;
    pa_stream_set_state_callback(
        stream_, [](pa_stream*, void* self) { static_cast<Playing*>(self)->stateChanged(); }, this);
    const auto tenth = static_cast<std::uint32_t>(pa_usec_to_bytes(100'000, &format));
    const pa_buffer_attr buffer{.maxlength = 4 * tenth,
                                .tlength = tenth / 2,
                                .prebuf = 0,
                                .minreq = UINT32_MAX,
                                .fragsize = UINT32_MAX};
    pa_stream_connect_playback(stream_, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr);
  }
  ~Playing() {
    if (!stream_) return;
    pa_stream_set_state_callback(stream_, nullptr, nullptr);
    if (draining_) pa_operation_cancel(draining_);
    if (draining_) pa_operation_unref(draining_);
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
  }
  Playing(const Playing&) = delete;
  Playing& operator=(const Playing&) = delete;

  bool isValid() const { return stream_ != nullptr; }

 private:
  void stateChanged() {
    switch (pa_stream_get_state(stream_)) {
      case PA_STREAM_READY:
        pa_stream_write(stream_, samples_.data(), samples_.size() * sizeof samples_[0], nullptr, 0,
                        PA_SEEK_RELATIVE);
        draining_ = pa_stream_drain(
            stream_, [](pa_stream*, int, void* self) { static_cast<Playing*>(self)->finish(); }, this);
        if (!draining_) finish();
        return;
      case PA_STREAM_FAILED:
      case PA_STREAM_TERMINATED:
        return finish();
      default:
        return;
    }
  }
  void finish() { over_(this); }

  std::vector<std::int16_t> samples_;
  std::function<void(Playing*)> over_;
  pa_stream* stream_ = nullptr;
  pa_operation* draining_ = nullptr;
};

}  // namespace

/// Lives on one thread, which owns everything of libpulse; others add names to the queue and wake it.
class PulseSoundPlayer::Connection {
 public:
  Connection() : loop_(pa_mainloop_new()) {
    if (!loop_) return;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // signals belong to the main thread
    thread_ = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_setname_np(thread_.native_handle(), "cues");
  }

  ~Connection() {
    if (!thread_.joinable()) return;
    {
      std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    pa_mainloop_wakeup(loop_.get());
    thread_.join();
  }

  void play(std::string_view name) {
    if (!loop_) return;
    {
      std::lock_guard lock(mutex_);
      asked_.push_back({std::string(name), std::chrono::steady_clock::now()});
    }
    pa_mainloop_wakeup(loop_.get());
  }

 private:
  struct Asked {
    std::string name;
    Instant moment;
  };

  void run() {
    connect();
    while (takeAsked()) {
      playWaiting();
      if (pa_mainloop_iterate(loop_.get(), 1, nullptr) < 0) break;
      clearFinished();
    }
    disconnect();
  }

  /// False when the player stops.
  bool takeAsked() {
    std::lock_guard lock(mutex_);
    for (auto& one : std::exchange(asked_, {})) waiting_.push_back(std::move(one));
    return !stopping_;
  }

  void playWaiting() {
    if (waiting_.empty()) return;
    if (!context_ || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_))) connect();
    if (context_ && pa_context_get_state(context_) != PA_CONTEXT_READY &&
        PA_CONTEXT_IS_GOOD(pa_context_get_state(context_))) {
      return;  // the next change of its state wakes the loop
    }
    for (auto& one : std::exchange(waiting_, {})) start(one);
  }

  void start(const Asked& one) {
    auto samples = cueSamples(one.name, static_cast<int>(format.rate));
    const bool late = std::chrono::steady_clock::now() - one.moment > stale;
    const bool ready = context_ && pa_context_get_state(context_) == PA_CONTEXT_READY;
    if (samples.empty() || late || !ready || playing_.size() >= mostStreams) return;
    auto cue = std::make_unique<Playing>(context_, std::move(samples), [this](Playing* done) {
      // Not here: libpulse is still inside the stream's own callback.
      finished_.push_back(done);
    });
    if (cue->isValid()) playing_.push_back(std::move(cue));
  }

  void clearFinished() {
    const auto finished = std::exchange(finished_, {});
    playing_.remove_if([&](const auto& one) {
      return std::find(finished.begin(), finished.end(), one.get()) != finished.end();
    });
  }

  void connect() {
    disconnect();
    Proplist facts(pa_proplist_new());
    pa_proplist_sets(facts.get(), PA_PROP_APPLICATION_NAME, "Pell");
    pa_proplist_sets(facts.get(), PA_PROP_APPLICATION_ID, "com.pell.dictation");
    context_ = pa_context_new_with_proplist(pa_mainloop_get_api(loop_.get()), nullptr, facts.get());
    // A desktop without a running server stays without one: cues are not worth starting it.
    if (context_) pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
  }

  void disconnect() {
    playing_.clear();
    finished_.clear();
    if (!context_) return;
    pa_context_disconnect(context_);
    pa_context_unref(std::exchange(context_, nullptr));
  }

  Loop loop_;
  std::mutex mutex_;
  std::vector<Asked> asked_;
  bool stopping_ = false;

  std::vector<Asked> waiting_;
  pa_context* context_ = nullptr;
  std::list<std::unique_ptr<Playing>> playing_;
  std::vector<Playing*> finished_;
  std::thread thread_;
};

PulseSoundPlayer::PulseSoundPlayer() : connection_(std::make_unique<Connection>()) {}
PulseSoundPlayer::~PulseSoundPlayer() = default;

void PulseSoundPlayer::play(std::string_view name) { connection_->play(name); }

}  // namespace pell
