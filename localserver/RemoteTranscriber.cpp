#include "localserver/RemoteTranscriber.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <utility>

#include "localserver/RemoteCall.h"

namespace pell::localserver {
namespace {

constexpr std::size_t largestWav = 24u << 20;

/// A name whose ending tells the other side the format.
std::string fileNameFor(const std::string& mediaType) {
  if (mediaType == "audio/mpeg" || mediaType == "audio/mp3") return "speech.mp3";
  if (mediaType == "audio/ogg") return "speech.ogg";
  if (mediaType == "audio/webm") return "speech.webm";
  if (mediaType.ends_with("flac")) return "speech.flac";
  if (mediaType.ends_with("wav") || mediaType == "audio/wave") return "speech.wav";
  return "speech.m4a";
}

SpokenText readReply(const std::string& body) {
  const auto reply = nlohmann::json::parse(body, nullptr, false);
  if (!reply.is_object() || !reply.contains("text") || !reply["text"].is_string()) {
    throw TranscriberFailure("The transcription service sent something unreadable.");
  }
  SpokenText result{
      .text = reply["text"].get<std::string>(), .confidence = std::nullopt, .language = std::nullopt};
  if (reply.contains("language") && reply["language"].is_string()) {
    result.language = reply["language"].get<std::string>();
  }
  return result;
}

}  // namespace

RemoteTranscriber::RemoteTranscriber(Setup setup) : setup_(std::move(setup)) {}

SpokenText RemoteTranscriber::transcribe(const Speech& speech) {
  try {
    RemoteCall call({.url = setup_.url, .key = setup_.key, .limit = setup_.limit, .stop = speech.stop});
    call.addField("model", setup_.model);
    call.addField("response_format", "json");
    if (speech.language != "multi") call.addField("language", speech.language);
    if (speech.samples.size_bytes() <= largestWav) {
      const std::string wav = wavFile(speech.samples);
      call.addFile("file", {.content = wav, .name = "speech.wav", .mediaType = "audio/wav"});
    } else {
      call.addFile(
          "file",
          {.content = speech.original, .name = fileNameFor(speech.mediaType), .mediaType = speech.mediaType});
    }
    return readReply(call.sendForm());
  } catch (const RemoteFailure& failure) {
    throw TranscriberFailure(fmt::format("The transcription service: {}.", failure.what()));
  }
}

}  // namespace pell::localserver
