#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace pell::bench {

inline const std::vector<std::string_view> english{
    "the",     "a",     "of",     "and",    "to",       "harvest", "letter", "morning,", "dictated.", "it's",
    "meeting", "after", "before", "would",  "quickly",  "because", "people", "window",   "thank",     "you",
    "river",   "I",     "send",   "please", "tomorrow", "house",   "small",  "question", "answer.",   "12"};
inline const std::vector<std::string_view> hindi{
    "मैं",    "हिंदी",   "में",    "लिखता",   "हूँ।",    "और",   "यह",   "पत्र",  "कल",    "सुबह",
    "भेजना", "है",      "कृपया", "विद्यालय", "राष्ट्र", "क्षेत्र", "प्रश्न", "उत्तर", "लोग",   "खिड़की",
    "नमस्ते", "धन्यवाद", "से",    "को",      "का",    "की",   "पर",   "लेकिन", "इसलिए", "स्वतंत्रता"};

/// Words in any order, of at least `size` bytes; the same each time.
inline std::string prose(const std::vector<std::string_view>& words, std::size_t size) {
  std::mt19937 random(7);
  std::string text;
  while (text.size() < size) {
    text += words[random() % words.size()];
    text += random() % 40 == 0 ? '\n' : ' ';
  }
  return text;
}

}  // namespace pell::bench
