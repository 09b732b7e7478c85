// The colours of Pell. Each is a pair for light and dark surroundings, and is looked up when it is painted.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace pell {

/// Of the sRGB space.
struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  bool operator==(const Rgb&) const = default;
};

enum class PaletteColour : std::uint8_t {
  canvas,
  sidebar,
  rail,
  card,
  line,
  rule,
  ink,
  muted,
  faint,
  accent,
  onAccent,
  accentInk,
  accentWash,
  selected,
  danger,
  record,
  ok,
  link,
  quote,
  disabled,
};

enum class Appearance { light, dark };

namespace detail {

struct PaletteEntry {
  std::uint32_t light;
  std::uint32_t dark;
};

/// In the order of `PaletteColour`.
inline constexpr std::array<PaletteEntry, 20> palette{
    {{0xF7F4EF, 0x1A1612}, {0xF2EFE9, 0x211D18}, {0xEEEAE4, 0x29241F}, {0xFEFBF8, 0x342F2A},
     {0xDBD7D1, 0x312C26}, {0x87837E, 0x817B74}, {0x1F1B16, 0xF0ECE7}, {0x625D56, 0xB5B0AA},
     {0x6D6760, 0x9D9893}, {0xFF9137, 0xFF9137}, {0x1F1B16, 0x1F1B16}, {0xA85500, 0xFFCBA9},
     {0xFFEEE3, 0x2E1D10}, {0xFFD0B2, 0x40230D}, {0xAC040C, 0xF9786A}, {0xDF0010, 0xFF4138},
     {0x007131, 0x69C27E}, {0x9E5000, 0xFFCBA9}, {0xFFE0CC, 0x341D0D}, {0x89837B, 0x807B76}}};

}  // namespace detail

constexpr Rgb rgb(PaletteColour colour, Appearance appearance) {
  const detail::PaletteEntry entry = detail::palette[static_cast<std::size_t>(colour)];
  const std::uint32_t value = appearance == Appearance::light ? entry.light : entry.dark;
  return {.red = static_cast<std::uint8_t>(value >> 16U),
          .green = static_cast<std::uint8_t>((value >> 8U) & 0xFFU),
          .blue = static_cast<std::uint8_t>(value & 0xFFU)};
}

}  // namespace pell
