#include "localserver/TranscribeEndpoint.h"

#include <algorithm>

#include "localserver/AudioDecoder.h"
#include "localserver/Replies.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

std::string parameter(const HttpRequest& request, const std::string& name, const std::string& absent) {
  const auto found = request.head.query.find(name);
  return found == request.head.query.end() ? absent : found->second;
}

std::string requiredLanguage(const HttpRequest& request) {
  std::string language = parameter(request, "language", "multi");
  if (language != "multi" && language != "en") {
    throw Refusal({400, "UNSUPPORTED_LANGUAGE", "This server does not know the language of the request."});
  }
  return language;
}

}  // namespace

TranscribeEndpoint::TranscribeEndpoint(const Setup& setup)
    : metering_(setup.metering),
      achievements_(setup.achievements),
      transcriber_(setup.transcriber),
      log_(setup.log) {}

nlohmann::json TranscribeEndpoint::answer(const Call& call) const {
  const std::string language = requiredLanguage(call.request);
  metering_.requireAllowance(call.caller.userId);
  const Pcm samples = decodeAudio(call.request.body, call.request.stop);
  Metering::Charge charge(metering_, call.caller.userId, secondsOf(samples));

  const SpokenText spoken = listen(samples, call, language);
  const std::string raw = repairedUtf8(spoken.text);
  const std::string transcript = trimmed(raw);
  const auto words = wordCount(transcript);
  const auto characters = characterCount(transcript);
  charge.keep(words, characters);
  const auto unlocked = achievements_.award(call.caller.userId);

  nlohmann::json reply = {{"transcript", transcript},
                          {"paragraphs", paragraphsOf(transcript)},
                          {"rawTranscript", raw},
                          {"durationSeconds", secondsOf(samples)},
                          {"words", words},
                          {"characters", characters},
                          {"language", spoken.language.value_or(language)},
                          {"quota", quotaJson(metering_.quota(call.caller.userId))}};
  if (!unlocked.empty()) reply["unlocked"] = unlocked;
  if (spoken.confidence) reply["confidence"] = std::clamp(*spoken.confidence, 0.0, 1.0);
  return reply;
}

SpokenText TranscribeEndpoint::listen(const Pcm& samples, const Call& call,
                                      const std::string& language) const {
  // Recognisers make words up where nothing was said.
  if (isSilent(samples)) return {};
  try {
    return transcriber_.transcribe({.samples = samples,
                                    .original = call.request.body,
                                    .mediaType = call.request.head.contentType,
                                    .language = language,
                                    .stop = call.request.stop});
  } catch (const TranscriberFailure& failure) {
    log_.warn("transcriber_failed", {{"request_id", call.request.head.id}, {"reason", failure.what()}});
    throw Refusal({502, "TRANSCRIPTION_FAILED", "The speech could not be turned into text. Try again."});
  }
}

}  // namespace pell::localserver
