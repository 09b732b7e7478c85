#pragma once

#include <memory>

#include "platform/Services.h"

namespace pell {

/// Plays the start and stop cues on the sound server's default sink. One idle connection is kept, so that a
/// cue sounds at once; a cue's stream is gone when it has been played. Without a server it is silent, and
/// each cue tries to connect for the next one. Never blocks on the server.
class PulseSoundPlayer final : public SoundPlayer {
 public:
  PulseSoundPlayer();
  ~PulseSoundPlayer() override;

  void play(std::string_view name) override;

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
};

}  // namespace pell
