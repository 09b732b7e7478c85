#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string>
#include <variant>
#include <vector>

#include "editor/AttributedText.h"

namespace pell::testing {

inline std::string described(const TextColour& colour) {
  if (const auto* name = std::get_if<PaletteColour>(&colour)) {
    return fmt::format("palette{}", static_cast<int>(*name));
  }
  const Rgb fixed = std::get<Rgb>(colour);
  return fmt::format("#{:02x}{:02x}{:02x}", fixed.red, fixed.green, fixed.blue);
}

inline std::string described(const TextAttributes& attributes) {
  std::vector<std::string> parts;
  if (const auto& font = attributes.font) {
    parts.push_back(
        fmt::format("{} {} {}{}", font->family, font->size, font->weight, font->italic ? "i" : ""));
  }
  if (attributes.foreground) parts.push_back("text " + described(*attributes.foreground));
  if (attributes.background) parts.push_back("on " + described(*attributes.background));
  if (attributes.underline) parts.push_back(fmt::format("under {}", *attributes.underline));
  if (attributes.strikethrough) parts.push_back(fmt::format("through {}", *attributes.strikethrough));
  if (attributes.link) parts.push_back("to " + *attributes.link);
  if (const auto& style = attributes.paragraphStyle) {
    parts.push_back(fmt::format("line {} after {} indent {} {} {} tabs {} every {}", style->lineHeight,
                                style->spacing, style->firstLineIndent, style->headIndent, style->tailIndent,
                                style->tabStops, style->defaultTabInterval));
  }
  return fmt::format("{}", fmt::join(parts, ", "));
}

/// Each run's text, and in brackets what it carries: "plain bold<Arial 12 700>".
inline std::string described(const AttributedText& text) {
  std::string all;
  text.forEachRun({.length = text.length()}, [&](const AttributedText::Run& run) {
    all += text.utf8(run.range);
    if (!run.attributes.isEmpty()) all += '<' + described(run.attributes) + '>';
  });
  return all;
}

}  // namespace pell::testing
