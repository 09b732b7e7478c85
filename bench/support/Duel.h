// Two ways to do the same, timed in turn.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/core.h>
#include <functional>
#include <string>
#include <vector>

namespace pell::bench {

class Scratch {
 public:
  Scratch() {
    std::string pattern = (std::filesystem::temp_directory_path() / "text-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::exit(1);
    path = pattern;
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::filesystem::path path;
};

inline double seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

struct Duel {
  std::string name;
  std::function<void()> ours;
  std::function<void()> peer;
  std::function<double(double)> figure;  // of seconds
};

/// One line: name, ours, the peer's, and how many times faster ours is; of medians.
inline void run(const Duel& duel) {
  std::vector<double> ours;
  std::vector<double> peer;
  duel.ours();
  duel.peer();
  for (int round = 0; round < 9; ++round) {
    if (round % 2 == 0) ours.push_back(seconds(duel.ours));
    peer.push_back(seconds(duel.peer));
    if (round % 2 == 1) ours.push_back(seconds(duel.ours));
  }
  const double mine = median(ours);
  const double theirs = median(peer);
  fmt::print("{} {:.1f} {:.1f} {:.2f}\n", duel.name, duel.figure(mine), duel.figure(theirs), theirs / mine);
  std::fflush(stdout);
}

/// Fails the program where the two did not count alike; also keeps the work from being left out.
inline void same(std::int64_t ours, std::int64_t peers) {
  if (ours == peers) return;
  fmt::print("counted {} and {}\n", ours, peers);
  std::exit(1);
}

}  // namespace pell::bench
