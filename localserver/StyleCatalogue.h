// The styles that this server cleans transcripts in.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string_view>

#include "localserver/StyleManner.h"

namespace pell::localserver {

struct CleanupStyle {
  std::string_view id;
  std::string_view title;
  std::string_view description;
  std::string_view group;
  std::string_view supersedes;  // a retired style; empty where there is none
  Manner manner;
  std::string_view prompt;  // what a language model is told of the style
};

/// A fixed table. Identifiers are what clients keep in their rules, so none is ever taken back: a style that
/// goes is named as superseded by another.
class StyleCatalogue {
 public:
  static std::span<const CleanupStyle> styles();

  /// The order of the sections in which clients show the styles.
  static std::span<const std::string_view> groups();

  /// The style for dictations of which nothing else is known.
  static const CleanupStyle& serverDefault();

  /// The style of that identifier, or the one that superseded it; null for an unknown one.
  static const CleanupStyle* find(std::string_view id);

  /// The reply of GET /api/v1/cleanup-styles.
  static nlohmann::json reply();
};

}  // namespace pell::localserver
