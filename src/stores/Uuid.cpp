#include "stores/Uuid.h"

#include <array>
#include <cstdint>
#include <sodium.h>
#include <stdexcept>
#include <string_view>

namespace pell {

std::string makeUuid() {
  // Repeated initialisation is cheap and makes the generator safe from any thread.
  if (sodium_init() < 0) throw std::runtime_error("The system has no source of random numbers.");
  std::array<std::uint8_t, 16> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);

  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (at == 4 || at == 6 || at == 8 || at == 10) text += '-';
    text += digits[bytes[at] >> 4];
    text += digits[bytes[at] & 0x0F];
  }
  return text;
}

}  // namespace pell
