// Sound as the recognisers take it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace pell::localserver {

/// 16-bit samples, one channel, `speechRate` of them a second.
using Pcm = std::vector<std::int16_t>;
inline constexpr int speechRate = 16'000;

inline double secondsOf(std::span<const std::int16_t> samples) {
  return static_cast<double>(samples.size()) / speechRate;
}

/// The samples as a WAV file.
std::string wavFile(std::span<const std::int16_t> samples);

/// Whether nothing in it is loud enough to be speech. Samples of any length.
bool isSilent(std::span<const std::int16_t> samples);

/// A stretch of samples, as indices.
struct Piece {
  std::size_t begin = 0;
  std::size_t end = 0;

  friend bool operator==(const Piece&, const Piece&) = default;
};

/// The stretches that hold speech, in order, cut at pauses so that none is longer than about 16 seconds; long
/// pauses belong to none. Steady noise and silence give no stretch at all.
std::vector<Piece> speechPieces(std::span<const std::int16_t> samples);

}  // namespace pell::localserver
