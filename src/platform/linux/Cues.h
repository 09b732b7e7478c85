#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace pell {

/// The samples of a named cue, one channel at `rate` samples a second, from silence to silence in under
/// 90 ms. Empty for an unknown name.
std::vector<std::int16_t> cueSamples(std::string_view name, int rate);

}  // namespace pell
