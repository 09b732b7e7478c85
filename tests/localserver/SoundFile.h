// Sound files made while the tests run.
#pragma once

#include <string>

#include "localserver/Audio.h"

namespace pell::localserver {

/// A tone of 440 Hz at a quarter of full scale.
Pcm tone(double seconds);

/// The samples as AAC in MP4, the way a recorder writes it. Throws std::runtime_error.
std::string mp4File(const Pcm& samples);

/// The same in another container by another encoder, by their names in libav.
std::string soundFile(const char* container, const char* encoder, const Pcm& samples);

}  // namespace pell::localserver
