// Any bytes are read without a fault, and what was read survives being written and read again, in a document
// whose size is bounded by theirs.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = pell::readRtf({reinterpret_cast<const char*>(data), size});
  if (!text) return -1;  // not worth keeping
  // A style of a paragraph and one of characters, each with all that it can say, for as few bytes as set
  // them.
  constexpr std::size_t most = 128;
  const std::string written = pell::writeRtf(*text);
  if (written.size() > (size + 8) * most) std::abort();
  const auto again = pell::readRtf(written);
  if (!again || !(*again == *text)) std::abort();
  return 0;
}
