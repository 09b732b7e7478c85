#include "localserver/Audio.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pell::localserver {
namespace {

constexpr std::size_t frame = speechRate / 50;  // 20 ms
constexpr double silentDecibels = -60;
constexpr double digitalSilence = -75;

constexpr std::size_t frames(double seconds) { return static_cast<std::size_t>(seconds * 50); }

// Pauses within speech that do not end a run, and what a run keeps on either side of itself.
constexpr std::size_t shortPause = frames(0.4);
constexpr std::size_t margin = frames(0.2);
constexpr std::size_t shortestRun = frames(0.06);
// A piece of this length ends at the next pause; both cores get work early, and sentences stay whole.
constexpr std::size_t wantedPiece = frames(5);
constexpr std::size_t longestPiece = frames(16);

/// The level of each frame of 20 ms in decibels below full scale.
std::vector<double> levelsOf(std::span<const std::int16_t> samples) {
  std::vector<double> levels;
  levels.reserve(samples.size() / frame + 1);
  for (std::size_t begin = 0; begin < samples.size(); begin += frame) {
    const auto piece = samples.subspan(begin, std::min(frame, samples.size() - begin));
    double sum = 0;
    for (const double sample : piece) sum += sample * sample;
    const double power = sum / (static_cast<double>(piece.size()) * 32768.0 * 32768.0);
    levels.push_back(10 * std::log10(std::max(power, 1e-10)));
  }
  return levels;
}

/// The level above which a frame counts as speech; infinite where all is of one level. The floor is what the
/// quietest fiftieth stays below: people who speak without a breath leave no more than that. Digital silence,
/// as before a microphone wakes, is no floor.
double thresholdOf(const std::vector<double>& levels) {
  std::vector<double> sorted = levels;
  std::erase_if(sorted, [](double level) { return level < digitalSilence; });
  if (sorted.empty()) return INFINITY;
  std::sort(sorted.begin(), sorted.end());
  const double floor = sorted[sorted.size() / 50];
  const double range = sorted.back() - floor;
  // Where digital silence is all there is beside one level, that level may be a voice.
  const bool bareTone = range < 4 && sorted.size() < levels.size() * 98 / 100;
  if (bareTone) return std::max(silentDecibels, floor - 4);
  if (range < 4) return INFINITY;
  return std::max(silentDecibels, floor + std::clamp(range * 0.3, 3.0, 12.0));
}

/// Runs of speech in frames; runs that a short pause divides are one.
std::vector<Piece> runsOf(const std::vector<double>& levels) {
  const double threshold = thresholdOf(levels);
  std::vector<Piece> runs;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    if (levels[i] <= threshold) continue;
    if (!runs.empty() && i - runs.back().end < shortPause) {
      runs.back().end = i + 1;
    } else {
      runs.push_back({i, i + 1});
    }
  }
  std::erase_if(runs, [](const Piece& run) { return run.end - run.begin < shortestRun; });
  return runs;
}

/// Where to cut a run that has no pause: the quietest 100 ms of the second half of what a piece may hold.
std::size_t quietestCut(const std::vector<double>& levels, std::size_t begin) {
  std::size_t best = begin + longestPiece;
  double lowest = INFINITY;
  for (std::size_t i = begin + longestPiece / 2; i + 5 <= begin + longestPiece; ++i) {
    double sum = 0;
    for (std::size_t k = i; k < i + 5; ++k) sum += levels[k];
    if (sum < lowest) {
      lowest = sum;
      best = i + 2;
    }
  }
  return best;
}

std::vector<Piece> withoutLongRuns(const std::vector<Piece>& runs, const std::vector<double>& levels) {
  std::vector<Piece> pieces;
  for (Piece run : runs) {
    while (run.end - run.begin > longestPiece) {
      const std::size_t cut = quietestCut(levels, run.begin);
      pieces.push_back({run.begin, cut});
      run.begin = cut;
    }
    pieces.push_back(run);
  }
  return pieces;
}

}  // namespace

std::string wavFile(std::span<const std::int16_t> samples) {
  const auto bytes = static_cast<std::uint32_t>(samples.size_bytes());
  std::string file;
  file.reserve(44 + bytes);
  const auto number = [&file](std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) file.push_back(static_cast<char>(value >> (8 * i)));
  };
  file += "RIFF";
  number(36 + bytes, 4);
  file += "WAVEfmt ";
  number(16, 4);
  number(1, 2);  // PCM
  number(1, 2);  // channels
  number(speechRate, 4);
  number(speechRate * 2, 4);
  number(2, 2);
  number(16, 2);
  file += "data";
  number(bytes, 4);
  for (const std::int16_t sample : samples) number(static_cast<std::uint16_t>(sample), 2);
  return file;
}

bool isSilent(std::span<const std::int16_t> samples) {
  const auto levels = levelsOf(samples);
  return std::all_of(levels.begin(), levels.end(), [](double level) { return level < silentDecibels; });
}

std::vector<Piece> speechPieces(std::span<const std::int16_t> samples) {
  if (samples.empty()) return {};
  const auto levels = levelsOf(samples);
  std::vector<Piece> joined;
  for (const Piece& run : withoutLongRuns(runsOf(levels), levels)) {
    const bool fits = !joined.empty() && joined.back().end - joined.back().begin < wantedPiece &&
                      run.end - joined.back().begin <= longestPiece && run.begin != joined.back().end;
    if (fits) {
      joined.back().end = run.end;
    } else {
      joined.push_back(run);
    }
  }
  std::vector<Piece> pieces;
  for (const Piece& run : joined) {
    // Margins never reach into a neighbour, or a word would be heard twice.
    const std::size_t begin = run.begin > margin ? run.begin - margin : 0;
    const std::size_t from = std::max(begin * frame, pieces.empty() ? 0 : pieces.back().end);
    pieces.push_back({from, std::min((run.end + margin) * frame, samples.size())});
  }
  // The margin behind a run that was cut without a pause would overlap the next one.
  for (std::size_t i = 0; i + 1 < joined.size(); ++i) {
    if (joined[i].end != joined[i + 1].begin) continue;
    pieces[i].end = pieces[i + 1].begin = joined[i].end * frame;
  }
  return pieces;
}

}  // namespace pell::localserver
