#include "localserver/RemoteTranscriber.h"

#include <curl/curl.h>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

namespace pell::localserver {
namespace {

constexpr std::size_t largestWav = 24u << 20;
constexpr std::size_t largestReply = 4u << 20;

struct FreeEasy {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct FreeMime {
  void operator()(curl_mime* mime) const { curl_mime_free(mime); }
};
struct FreeList {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

std::size_t collect(char* data, std::size_t, std::size_t size, void* context) {
  auto& text = *static_cast<std::string*>(context);
  if (text.size() + size > largestReply) return 0;
  text.append(data, size);
  return size;
}

int stopped(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<const std::stop_token*>(context)->stop_requested() ? 1 : 0;
}

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
  const std::unique_ptr<CURL, FreeEasy> easy(curl_easy_init());
  if (!easy) throw TranscriberFailure("No HTTP client could be made.");
  const std::unique_ptr<curl_mime, FreeMime> form(curl_mime_init(easy.get()));
  const auto field = [&form](const char* name, const std::string& value) {
    curl_mimepart* part = curl_mime_addpart(form.get());
    curl_mime_name(part, name);
    curl_mime_data(part, value.data(), value.size());
    return part;
  };
  field("model", setup_.model);
  field("response_format", "json");
  if (speech.language != "multi") field("language", speech.language);
  const bool asWav = speech.samples.size_bytes() <= largestWav;
  curl_mimepart* file = field("file", asWav ? wavFile(speech.samples) : speech.original);
  curl_mime_filename(file, asWav ? "speech.wav" : fileNameFor(speech.mediaType).c_str());
  curl_mime_type(file, asWav ? "audio/wav" : speech.mediaType.c_str());

  std::unique_ptr<curl_slist, FreeList> headers;
  if (setup_.key) headers.reset(curl_slist_append(nullptr, ("Authorization: Bearer " + *setup_.key).c_str()));
  std::string body;
  curl_easy_setopt(easy.get(), CURLOPT_URL, setup_.url.c_str());
  curl_easy_setopt(easy.get(), CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy.get(), CURLOPT_MIMEPOST, form.get());
  curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy.get(), CURLOPT_CONNECTTIMEOUT, 10L);
  curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT, static_cast<long>(setup_.limit.count()));
  curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, &collect);
  curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &body);
  curl_easy_setopt(easy.get(), CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(easy.get(), CURLOPT_XFERINFOFUNCTION, &stopped);
  curl_easy_setopt(easy.get(), CURLOPT_XFERINFODATA, const_cast<std::stop_token*>(&speech.stop));

  const CURLcode result = curl_easy_perform(easy.get());
  if (result != CURLE_OK) {
    throw TranscriberFailure(fmt::format("The transcription service: {}.", curl_easy_strerror(result)));
  }
  long status = 0;
  curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
  if (status < 200 || status > 299) {
    throw TranscriberFailure(fmt::format("The transcription service answered with status {}.", status));
  }
  return readReply(body);
}

}  // namespace pell::localserver
