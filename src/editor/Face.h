// The typography of Pell.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "editor/TextAttributes.h"

namespace pell {

/// What the desktop's own font has to be like that stands in for a missing family.
enum class FontDesign { standard, serif, monospaced };

/// A font of the screens. Its size is fixed: it follows no setting of the desktop.
struct NamedFont {
  std::string_view family;
  double size = 0;  // points
  int weight = Font::regular;
  bool hasMonospacedDigits = false;  // numbers that change stay where they are

  Font font() const { return {.family = std::string(family), .size = size, .weight = weight}; }
  bool operator==(const NamedFont&) const = default;
};

/// Which fonts there are. What stands in for those that are not on this machine and which family helps out
/// with Devanagari is the business of whoever draws.
struct Face {
  static constexpr std::string_view displayFamily = "Fraunces 9pt";
  static constexpr std::string_view textFamily = "IBM Plex Sans";
  static constexpr std::string_view monoFamily = "IBM Plex Mono";
  static constexpr std::string_view devanagariFamily = "IBM Plex Sans Devanagari";

  struct Named {
    static constexpr NamedFont wordmark{displayFamily, 54, Font::semibold};
    static constexpr NamedFont display{displayFamily, 30, Font::semibold};
    static constexpr NamedFont title{displayFamily, 22, Font::semibold};
    static constexpr NamedFont section{displayFamily, 18, Font::semibold};
    static constexpr NamedFont heading{textFamily, 15, Font::semibold};
    static constexpr NamedFont bodyLarge{textFamily, 14, Font::regular};
    static constexpr NamedFont body{textFamily, 13, Font::regular};
    static constexpr NamedFont bodyEmph{textFamily, 13, Font::semibold};
    static constexpr NamedFont label{textFamily, 12, Font::regular};
    static constexpr NamedFont labelEmph{textFamily, 12, Font::semibold};
    static constexpr NamedFont caption{textFamily, 11, Font::regular};
    static constexpr NamedFont micro{textFamily, 10, Font::medium};
    static constexpr NamedFont eyebrow{textFamily, 9.5, Font::semibold};
  };

  static constexpr NamedFont display(double size, int weight) { return {displayFamily, size, weight}; }
  static constexpr NamedFont text(double size, int weight) { return {textFamily, size, weight}; }
  static constexpr NamedFont mono(double size, int weight) { return {monoFamily, size, weight}; }
  static constexpr NamedFont stat(double size) { return {displayFamily, size, Font::semibold, true}; }

  static constexpr FontDesign fallbackDesign(std::string_view family) {
    if (family == displayFamily) return FontDesign::serif;
    return family == monoFamily ? FontDesign::monospaced : FontDesign::standard;
  }

  /// Whether Pell looks as it was drawn; asked once, at launch.
  static bool fontsAreLoaded(const std::function<bool(std::string_view family)>& has) {
    return has && has(displayFamily) && has(textFamily);
  }

  /// Of notes and their text views. It is the system font of notes as well.
  static Font nsText(double size, int weight = Font::regular) {
    return {.family = std::string(textFamily), .size = size, .weight = weight};
  }
  static Font nsDisplay(double size, int weight = Font::semibold) {
    return {.family = std::string(displayFamily), .size = size, .weight = weight};
  }
};

}  // namespace pell
