#include "bench/support/ScriptedServer.h"

#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "bench/support/Figures.h"

namespace pell::bench {

namespace {

HttpResponse success(const nlohmann::json& body) {
  return {.status = 200, .headers = {{"content-type", "application/json"}}, .body = body.dump()};
}

nlohmann::json session() {
  return {{"accessToken", "access"},
          {"refreshToken", "refresh"},
          {"expiresIn", 86400},
          {"user", {{"id", "1"}, {"email", "someone@example.org"}, {"plan", "free"}, {"isAdmin", false}}}};
}

nlohmann::json transcription(const std::string& text) {
  const nlohmann::json quota{
      {"minutesPerMonth", 600}, {"usedSeconds", 1.0}, {"remainingSeconds", 1.0}, {"allowanceSeconds", 2.0}};
  return {{"transcript", text},        {"paragraphs", {text}},
          {"rawTranscript", text},     {"cleanupPromptVersionTitle", "Version 1"},
          {"durationSeconds", 12.5},   {"words", std::count(text.begin(), text.end(), ' ') + 1},
          {"characters", text.size()}, {"confidence", 0.9},
          {"language", "en"},          {"quota", quota}};
}

}  // namespace

void ScriptedServer::send(HttpRequest request, std::function<void(HttpOutcome)> completion) {
  if (request.url.find("/transcribe") != std::string::npos) {
    std::lock_guard lock(mutex_);
    dictation_ = std::move(completion);
    return;
  }
  lane_.post([completion = std::move(completion)] { completion(success(session())); });
}

bool ScriptedServer::isAsked() const {
  std::lock_guard lock(mutex_);
  return dictation_ != nullptr;
}

Instant ScriptedServer::reply(const std::string& text) {
  auto instant = std::make_shared<std::promise<Instant>>();
  std::lock_guard lock(mutex_);
  lane_.post([instant, response = success(transcription(text)),
              completion = std::exchange(dictation_, nullptr)]() mutable {
    const Instant replied = now();
    completion(std::move(response));
    instant->set_value(replied);
  });
  return instant->get_future().get();
}

}  // namespace pell::bench
