#pragma once

#include <string>
#include <variant>

namespace pell {

namespace phase {
struct Idle {
  bool operator==(const Idle&) const = default;
};
/// The dictation was accepted; the microphone is starting or running.
struct Recording {
  bool operator==(const Recording&) const = default;
};
/// The audio has ended and its upload is in flight.
struct Transcribing {
  bool operator==(const Transcribing&) const = default;
};
/// A message of success is on show.
struct Finished {
  std::string message;
  bool operator==(const Finished&) const = default;
};
/// A message of failure is on show.
struct Failed {
  std::string message;
  bool operator==(const Failed&) const = default;
};
}  // namespace phase

/// Where the current dictation stands. Compared by value, messages included.
using DictationPhase =
    std::variant<phase::Idle, phase::Recording, phase::Transcribing, phase::Finished, phase::Failed>;

}  // namespace pell
