// From sound to words: the interface, and how it fails.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>

#include "localserver/Audio.h"

namespace pell::localserver {

/// One recording, in both its forms. The views must outlive the call.
struct Speech {
  std::span<const std::int16_t> samples;
  /// The file as the client sent it.
  const std::string& original;
  const std::string& mediaType;
  /// "en", or "multi" where the speaker mixes languages.
  const std::string& language;
  std::stop_token stop;
};

/// What was said. `language` is set where the recogniser tells it.
struct SpokenText {
  std::string text;
  /// 0 to 1.
  std::optional<double> confidence;
  std::optional<std::string> language;
};

/// The words could not be had. The text is for the log: it holds no spoken word.
class TranscriberFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Turns speech into text. Calls block, for as long as the speech lasts or longer, and may come from several
/// threads at once. Throws TranscriberFailure, soon after stop is requested at the latest.
class Transcriber {
 public:
  virtual ~Transcriber() = default;
  virtual SpokenText transcribe(const Speech& speech) = 0;
};

}  // namespace pell::localserver
