#include "platform/linux/PulseSoundPlayer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <numbers>
#include <optional>
#include <pulse/pulseaudio.h>
#include <vector>

namespace pell {
namespace {

constexpr int sampleRate = 44100;

struct Cue {
  double frequency;  // Hz at the start
  double glide;      // change of the frequency until the end, as a factor
  double seconds;
};

/// A rising tick when recording begins, a lower falling one when it ends.
std::optional<Cue> cueNamed(std::string_view name) {
  if (name == "Tink") return Cue{.frequency = 1320, .glide = 1.25, .seconds = 0.07};
  if (name == "Pop") return Cue{.frequency = 740, .glide = 0.7, .seconds = 0.09};
  return std::nullopt;
}

/// A sine that swells for two milliseconds and then dies away, so that neither end clicks.
std::vector<std::int16_t> samples(const Cue& cue) {
  constexpr double loudness = 0.22;
  const auto count = static_cast<std::size_t>(cue.seconds * sampleRate);
  std::vector<std::int16_t> result(count);
  double phase = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double time = static_cast<double>(i) / sampleRate;
    const double done = time / cue.seconds;
    phase += 2 * std::numbers::pi * cue.frequency * std::pow(cue.glide, done) / sampleRate;
    const double envelope = std::min(1.0, time / 0.002) * std::exp(-5 * done) * (1 - done);
    result[i] = static_cast<std::int16_t>(32767 * loudness * envelope * std::sin(phase));
  }
  return result;
}

}  // namespace

/// Touched under the loop's lock or on its thread, but for construction and destruction.
struct PulseSoundPlayer::Connection {
  using Samples = std::vector<std::int16_t>;

  pa_threaded_mainloop* loop = pa_threaded_mainloop_new();
  pa_context* context = nullptr;
  std::map<pa_stream*, Samples> playing;

  Connection() {
    pa_threaded_mainloop_set_name(loop, "cues");
    connect();
    pa_threaded_mainloop_start(loop);
  }

  ~Connection() {
    pa_threaded_mainloop_stop(loop);
    disconnect();
    pa_threaded_mainloop_free(loop);
  }

  void play(const Samples& sound) {
    pa_threaded_mainloop_lock(loop);
    if (!context || !PA_CONTEXT_IS_GOOD(pa_context_get_state(context))) {
      disconnect();
      connect();
    } else if (pa_context_get_state(context) == PA_CONTEXT_READY) {
      begin(sound);
    }
    pa_threaded_mainloop_unlock(loop);
  }

 private:
  void connect() {
    context = pa_context_new(pa_threaded_mainloop_get_api(loop), "Pell");
    pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
  }

  void disconnect() {
    while (!playing.empty()) end(playing.begin()->first);
    if (!context) return;
    pa_context_disconnect(context);
    pa_context_unref(context);
    context = nullptr;
  }

  void begin(const Samples& sound) {
    const pa_sample_spec format{.format = PA_SAMPLE_S16NE, .rate = sampleRate, .channels = 1};
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "event");
    pa_stream* stream = pa_stream_new_with_proplist(context, "Cue", &format, nullptr, properties);
    pa_proplist_free(properties);
    if (!stream) return;
    playing.emplace(stream, sound);
    pa_stream_set_state_callback(stream, onState, this);
    if (pa_stream_connect_playback(stream, nullptr, nullptr, PA_STREAM_NOFLAGS, nullptr, nullptr) < 0) {
      end(stream);
    }
  }

  static void onState(pa_stream* stream, void* target) {
    auto* self = static_cast<Connection*>(target);
    const auto state = pa_stream_get_state(stream);
    if (state == PA_STREAM_READY) self->feed(stream);
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) self->end(stream);
  }

  void feed(pa_stream* stream) {
    const Samples& sound = playing.at(stream);
    pa_stream_write(stream, sound.data(), sound.size() * sizeof(Samples::value_type), nullptr, 0,
                    PA_SEEK_RELATIVE);
    pa_operation* drain = pa_stream_drain(stream, onDrained, this);
    if (drain) pa_operation_unref(drain);
  }

  static void onDrained(pa_stream* stream, int, void* target) {
    static_cast<Connection*>(target)->end(stream);
  }

  void end(pa_stream* stream) {
    if (playing.erase(stream) == 0) return;
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
  }
};

PulseSoundPlayer::PulseSoundPlayer() : connection_(std::make_unique<Connection>()) {}
PulseSoundPlayer::~PulseSoundPlayer() = default;

void PulseSoundPlayer::play(std::string_view name) {
  if (auto cue = cueNamed(name)) connection_->play(samples(*cue));
}

}  // namespace pell
