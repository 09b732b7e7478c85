// From what was heard to what is to be written.
#pragma once

#include <chrono>
#include <stdexcept>
#include <stop_token>
#include <string>

#include "localserver/StyleCatalogue.h"

namespace pell::localserver {

/// A transcript on its way into a style. Borrowed for the length of the call.
struct Draft {
  const CleanupStyle& style;
  /// Valid UTF-8.
  const std::string& text;
  /// What the recogniser heard, or "en", or "multi" for English and Hindi mixed.
  const std::string& language;
  /// How long the caller can still wait.
  std::chrono::milliseconds patience{0};
  std::stop_token stop;
};

/// The text could not be cleaned. The words are for the log: they hold nothing that was said.
class CleanerFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Rewrites transcripts. Calls may block and may come from several threads at once. Throws CleanerFailure,
/// soon after stop is requested at the latest.
class Cleaner {
 public:
  virtual ~Cleaner() = default;
  virtual std::string clean(const Draft& draft) = 0;
};

}  // namespace pell::localserver
