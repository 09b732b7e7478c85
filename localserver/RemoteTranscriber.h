#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "localserver/Transcriber.h"

namespace pell::localserver {

/// Asks any address that speaks the OpenAI form of `/v1/audio/transcriptions`. The recording goes as WAV, or
/// as the client sent it where the WAV would pass 24 MB.
class RemoteTranscriber : public Transcriber {
 public:
  struct Setup {
    /// The whole address, http or https.
    std::string url;
    std::string model;
    /// Sent as a bearer token.
    std::optional<std::string> key;
    std::chrono::seconds limit{170};
  };

  explicit RemoteTranscriber(Setup setup);

  SpokenText transcribe(const Speech& speech) override;

 private:
  const Setup setup_;
};

}  // namespace pell::localserver
