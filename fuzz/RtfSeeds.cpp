// usage: RtfSeeds FOLDER    writes each document of the tests into the folder, and beside it FOLDER.dict, the
//                           control words
#include <filesystem>
#include <fstream>
#include <string>

#include "editor/RtfSamples.h"
#include "editor/RtfWords.h"

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const std::filesystem::path folder = arguments[1];
  std::filesystem::create_directories(folder);
  int number = 0;
  const auto write = [&](const std::string& rtf) {
    std::ofstream(folder / ("sample" + std::to_string(++number)), std::ios::binary) << rtf;
  };
  for (const auto& sample : pell::testing::rtfSamples()) write(sample.rtf);
  constexpr std::size_t times = 1300;  // as many as fit into the longest that are tried
  for (const auto& rtf : pell::testing::greedyRtf(times)) write(rtf);
  std::ofstream words(folder.string() + ".dict");
  for (const auto& entry : pell::rtfWords()) {
    std::string names(entry.names);
    for (std::size_t at = 0; at < names.size();) {
      const std::size_t end = std::min(names.find(' ', at), names.size());
      words << "\"\\\\" << names.substr(at, end - at) << "\"\n";
      at = end + 1;
    }
  }
  return words.good() ? 0 : 1;
}
