#pragma once

#include <chrono>
#include <string>

#include "localserver/Transcriber.h"

namespace pell::localserver {

/// Runs the operator's own shell command for each recording: a WAV file of 16 kHz mono on its standard input,
/// the text expected on its standard output. A status other than 0, more than 1 MB of text or an end past
/// `limit` is a failure, and whatever the command started in its process group is killed. Its standard error
/// goes nowhere, as it could hold what was said. The environment has PELL_LANGUAGE beside the server's own
/// variables.
class CommandTranscriber : public Transcriber {
 public:
  CommandTranscriber(std::string command, std::chrono::milliseconds limit);

  SpokenText transcribe(const Speech& speech) override;

 private:
  const std::string command_;
  const std::chrono::milliseconds limit_;
};

}  // namespace pell::localserver
