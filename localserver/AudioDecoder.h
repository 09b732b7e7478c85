#pragma once

#include <chrono>
#include <stop_token>
#include <string>

#include "localserver/Audio.h"

namespace pell::localserver {

/// The longest recording that is taken.
inline constexpr std::chrono::minutes longestAudio{30};

/// Whether `mediaType` (lower case, without parameters) is a sound format that `decodeAudio` knows.
bool isKnownAudioType(const std::string& mediaType);

/// Decodes a whole sound file in memory. What is read is told by the bytes themselves. Throws Refusal:
/// "BAD_AUDIO" where the bytes are no sound, "AUDIO_TOO_LONG" past `longestAudio`, "UNAVAILABLE" once stop is
/// requested. Nothing outside the bytes is ever opened. Any thread.
Pcm decodeAudio(const std::string& file, const std::stop_token& stop);

/// Silences the decoding library's own messages, for the whole process.
void quietAudioLibrary();

}  // namespace pell::localserver
