#pragma once

#include <memory>

#include "platform/Services.h"

namespace pell {

/// Plays the cues on the default output of the desktop's sound server. It connects when it is made, so that
/// the first cue is as quick as the others, and again when it next has something to play after the server
/// went away. Between cues one silent connection remains, and no stream. Without a server there is silence.
/// `play` may be called from any thread and only leaves a note.
class PulseSoundPlayer final : public SoundPlayer {
 public:
  PulseSoundPlayer();
  ~PulseSoundPlayer() override;

  void play(std::string_view name) override;

 private:
  class Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace pell
