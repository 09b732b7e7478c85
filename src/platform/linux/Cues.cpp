#include "platform/linux/Cues.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pell {
namespace {

/// A tone that is struck and dies away.
struct Cue {
  double seconds;
  double from;       // Hz, at the start
  double to;         // Hz, approached as the tone dies
  double overtone;   // share of a second, higher partial
  double decay;      // seconds until the tone is down to a third
  double amplitude;  // of full scale
};

constexpr Cue tink{
    .seconds = 0.08, .from = 1865, .to = 1865, .overtone = 0.25, .decay = 0.018, .amplitude = 0.28};
constexpr Cue pop{
    .seconds = 0.07, .from = 620, .to = 330, .overtone = 0.0, .decay = 0.016, .amplitude = 0.38};

constexpr double attack = 0.0015;  // seconds; a harder start clicks
constexpr double release = 0.010;  // seconds, down to silence
constexpr double partial = 2.76;   // the second partial of a small struck bar

std::vector<std::int16_t> render(const Cue& cue, int rate) {
  const auto count = static_cast<std::size_t>(cue.seconds * rate);
  std::vector<std::int16_t> samples(count);
  double phase = 0;
  for (std::size_t index = 0; index < count; ++index) {
    const double time = static_cast<double>(index) / rate;
    const double fading = std::exp(-time / cue.decay);
    const double edge = std::min({1.0, time / attack, (cue.seconds - time) / release});
    const double tone = std::sin(phase) + cue.overtone * std::sin(partial * phase) * fading;
    const double level = cue.amplitude * fading * edge * tone / (1 + cue.overtone);
    samples[index] = static_cast<std::int16_t>(std::lround(level * 32767));
    phase += 2 * std::numbers::pi * (cue.to + (cue.from - cue.to) * fading) / rate;
  }
  return samples;
}

}  // namespace

std::vector<std::int16_t> cueSamples(std::string_view name, int rate) {
  if (name == "Tink") return render(tink, rate);
  if (name == "Pop") return render(pop, rate);
  return {};
}

}  // namespace pell
