// Any bytes are read without a fault, and what was read survives being written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = pell::readRtf({reinterpret_cast<const char*>(data), size});
  if (!text) return -1;  // not worth keeping
  const auto again = pell::readRtf(pell::writeRtf(*text));
  if (!again || !(*again == *text)) std::abort();
  return 0;
}
