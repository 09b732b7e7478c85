#pragma once

#include <nlohmann/json.hpp>

#include "localserver/Accounts.h"
#include "localserver/Achievements.h"
#include "localserver/Cleaner.h"
#include "localserver/Metering.h"
#include "localserver/Router.h"
#include "localserver/Transcriber.h"

namespace pell::localserver {

/// POST /api/v1/transcribe: from the bytes of a recording to its text, cleaned, counted and metered. The
/// sound is only ever in memory.
class TranscribeEndpoint {
 public:
  struct Setup {
    Accounts& accounts;
    Metering& metering;
    Achievements& achievements;
    Transcriber& transcriber;
    Cleaner& cleaner;
    ServerLog& log;
  };
  explicit TranscribeEndpoint(const Setup& setup);

  /// What can be refused before the recording is here. Throws Refusal.
  void admit(const RequestHead& head, const Caller& caller) const;
  nlohmann::json answer(const Call& call) const;

 private:
  SpokenText listen(const Pcm& samples, const Call& call, const std::string& language) const;
  const CleanupStyle* styleFor(const Call& call) const;
  /// The text in the style; none where it could not be cleaned.
  std::optional<std::string> cleaned(const Draft& draft, const Call& call) const;

  Accounts& accounts_;
  Metering& metering_;
  Achievements& achievements_;
  Transcriber& transcriber_;
  Cleaner& cleaner_;
  ServerLog& log_;
};

}  // namespace pell::localserver
