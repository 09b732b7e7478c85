// A PulseAudio server that a test can restart, hang and take the microphone from.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "linux/AppProcess.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {

/// While it lives, this process and the programs that it starts use this server and no other.
class SoundServer {
 public:
  SoundServer();
  ~SoundServer();
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  void begin();
  void end();
  /// In the place of an ended server, turns everybody away as one that knows permissions does.
  void beginRefusing();
  void hang();
  void resume();

  void unplugMicrophone();
  void plugMicrophone();

  /// A steady tone, until `playNothing`.
  void playTone();
  void playNothing();

  /// Capturing streams of this process.
  int captureStreams();

 private:
  std::string socketPath() const { return folder_.path() / "socket"; }

  TemporaryDirectory folder_;
  std::string outside_;
  std::unique_ptr<AppProcess> server_;
  std::jthread refusing_;
};

}  // namespace pell::testing
