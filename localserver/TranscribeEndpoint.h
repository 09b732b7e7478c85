#pragma once

#include <nlohmann/json.hpp>

#include "localserver/Achievements.h"
#include "localserver/Metering.h"
#include "localserver/Router.h"
#include "localserver/Transcriber.h"

namespace pell::localserver {

/// POST /api/v1/transcribe: from the bytes of a recording to its text, counted and metered. The sound is only
/// ever in memory.
class TranscribeEndpoint {
 public:
  struct Setup {
    Metering& metering;
    Achievements& achievements;
    Transcriber& transcriber;
    ServerLog& log;
  };
  explicit TranscribeEndpoint(const Setup& setup);

  nlohmann::json answer(const Call& call) const;

 private:
  SpokenText listen(const Pcm& samples, const Call& call, const std::string& language) const;

  Metering& metering_;
  Achievements& achievements_;
  Transcriber& transcriber_;
  ServerLog& log_;
};

}  // namespace pell::localserver
