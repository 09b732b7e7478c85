// Times that were taken in one run, and how they are shown.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fmt/core.h>
#include <string>
#include <string_view>
#include <vector>

#include "async/Time.h"

namespace pell::bench {

inline Instant now() { return std::chrono::steady_clock::now(); }

inline double millisecondsBetween(Instant start, Instant end) {
  return std::chrono::duration<double, std::milli>(end - start).count();
}

class Samples {
 public:
  void add(double value) { values_.push_back(value); }
  std::size_t count() const { return values_.size(); }

  /// `share` is 0.5 for the median, 0.95 for what all but one in twenty stay below; 0 without samples.
  double quantile(double share) const {
    if (values_.empty()) return 0;
    auto sorted = values_;
    std::sort(sorted.begin(), sorted.end());
    const auto rank = static_cast<std::size_t>(share * static_cast<double>(sorted.size()));
    return sorted[std::min(rank, sorted.size() - 1)];
  }
  double median() const { return quantile(0.5); }

 private:
  std::vector<double> values_;
};

inline void printHeader(std::string_view unit) {
  fmt::print("{:<34}{:>10}{:>10}{:>8}   goal\n", fmt::format("median, {}", unit), "ours", "floor", "ratio");
}

/// Ours beside a floor or a peer that did the same in the same run.
inline void printDuel(std::string_view name, const Samples& ours, const Samples& floor,
                      std::string_view goal) {
  const double mine = ours.median();
  const double bare = floor.median();
  fmt::print("{:<34}{:>10.2f}{:>10.2f}{:>8.2f}   {}\n", name, mine, bare, bare > 0 ? mine / bare : 0.0, goal);
  std::fflush(stdout);
}

/// What has a bound of its own and no floor.
inline void printBound(std::string_view name, const Samples& ours, std::string_view goal) {
  fmt::print("{:<34}{:>10.2f}   95%: {:.2f} of {} runs   {}\n", name, ours.median(), ours.quantile(0.95),
             ours.count(), goal);
  std::fflush(stdout);
}

}  // namespace pell::bench
