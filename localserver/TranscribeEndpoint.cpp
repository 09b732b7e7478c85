#include "localserver/TranscribeEndpoint.h"

#include <algorithm>

#include "localserver/AudioDecoder.h"
#include "localserver/Replies.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Clients give a request up after 180 seconds; what was understood until then must reach them in time.
constexpr milliseconds longestWork{175'000};

std::string parameter(const RequestHead& head, const std::string& name, const std::string& absent) {
  const auto found = head.query.find(name);
  return found == head.query.end() ? absent : found->second;
}

std::string languageOf(const RequestHead& head) { return parameter(head, "language", "multi"); }

}  // namespace

TranscribeEndpoint::TranscribeEndpoint(const Setup& setup)
    : accounts_(setup.accounts),
      metering_(setup.metering),
      achievements_(setup.achievements),
      transcriber_(setup.transcriber),
      cleaner_(setup.cleaner),
      log_(setup.log) {}

void TranscribeEndpoint::admit(const RequestHead& head, const Caller& caller) const {
  const std::string language = languageOf(head);
  if (language != "multi" && language != "en") {
    throw Refusal({400, "UNSUPPORTED_LANGUAGE", "This server does not know the language of the request."});
  }
  metering_.requireAllowance(caller.userId);
}

nlohmann::json TranscribeEndpoint::answer(const Call& call) const {
  const std::string language = languageOf(call.request.head);
  const Pcm samples = decodeAudio(call.request.body, call.request.stop);
  Metering::Charge charge(metering_, call.caller.userId, secondsOf(samples));

  const SpokenText spoken = listen(samples, call, language);
  const std::string raw = repairedUtf8(spoken.text);
  const CleanupStyle* style = styleFor(call);
  const std::string heard = spoken.language.value_or(language);
  std::optional<std::string> clean;
  if (style) {
    // From the client's first word on: it waits through the upload and the queue as well.
    const auto spent =
        std::chrono::duration_cast<milliseconds>(steady_clock::now() - call.request.head.arrived);
    clean = cleaned({.style = *style,
                     .text = raw,
                     .language = heard,
                     .patience = longestWork - spent,
                     .stop = call.request.stop},
                    call);
  }
  const std::string transcript = clean.value_or(trimmed(raw));
  const auto words = wordCount(transcript);
  const auto characters = characterCount(transcript);
  charge.keep(words, characters);
  const auto unlocked = achievements_.award(call.caller.userId);

  nlohmann::json reply = {
      {"transcript", transcript}, {"paragraphs", paragraphsOf(transcript)},
      {"rawTranscript", raw},     {"durationSeconds", secondsOf(samples)},
      {"words", words},           {"characters", characters},
      {"language", heard},        {"quota", quotaJson(metering_.quota(call.caller.userId))}};
  if (clean) reply["cleanupPromptVersionTitle"] = style->title;
  if (!unlocked.empty()) reply["unlocked"] = unlocked;
  if (spoken.confidence) reply["confidence"] = std::clamp(*spoken.confidence, 0.0, 1.0);
  return reply;
}

/// What the request names, else what the account chose; null where the account wants no cleanup.
const CleanupStyle* TranscribeEndpoint::styleFor(const Call& call) const {
  const UserRecord user = accounts_.account(call.caller);
  if (!user.cleanupEnabled) return nullptr;
  if (const auto* style = StyleCatalogue::find(parameter(call.request.head, "style", ""))) return style;
  if (const auto* style = StyleCatalogue::find(user.cleanupPromptVersion.value_or(""))) return style;
  return &StyleCatalogue::serverDefault();
}

std::optional<std::string> TranscribeEndpoint::cleaned(const Draft& draft, const Call& call) const {
  try {
    return cleaner_.clean(draft);
  } catch (const CleanerFailure& failure) {
    if (call.request.stop.stop_requested())
      throw Refusal({503, "UNAVAILABLE", "The dictation was given up."});
    // The words as they were heard are worth more than none.
    log_.warn("cleaner_failed", {{"request_id", call.request.head.id}, {"reason", failure.what()}});
    return std::nullopt;
  }
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
