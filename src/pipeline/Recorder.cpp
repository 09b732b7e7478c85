#include "pipeline/Recorder.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "async/OneShot.h"
#include "platform/Services.h"
#include "stores/Log.h"
#include "stores/Uuid.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

constexpr Seconds tickInterval{0.05};
constexpr double silence = -50.0;  // decibels that count as no input at all
constexpr std::string_view filePrefix = "pell-";
constexpr std::string_view fileExtension = ".m4a";

void restrictPermissions(const fs::path& file) {
  std::error_code ignored;
  fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, ignored);
}

void removeFile(const fs::path& file) {
  std::error_code ignored;
  fs::remove(file, ignored);
}

std::optional<std::string> readFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad() || bytes.empty()) return std::nullopt;
  return bytes;
}

std::optional<Date> modificationDate(const fs::path& file) {
  std::error_code failed;
  auto written = fs::last_write_time(file, failed);
  if (failed) return std::nullopt;
  return std::chrono::time_point_cast<Seconds>(fs::file_time_type::clock::to_sys(written));
}

bool isScratchName(const std::string& name) {
  return name.starts_with(filePrefix) && name.ends_with(fileExtension);
}

}  // namespace

Recorder::Recorder(Dependencies dependencies) : dependencies_(std::move(dependencies)) {}

Recorder::~Recorder() {
  timer_.stop();
  discardCapture();
}

Task<bool> Recorder::requestPermission() {
  switch (dependencies_.audio.authorization()) {
    case MicrophoneAuthorization::authorized:
      co_return true;
    case MicrophoneAuthorization::restricted:
    case MicrophoneAuthorization::denied:
      co_return false;
    case MicrophoneAuthorization::notDetermined:
      break;
  }
  OneShot<bool> answer;
  dependencies_.audio.requestAccess([answer](bool granted) { answer.set(granted); });
  co_return co_await answer;
}

Task<bool> Recorder::start() {
  if (std::holds_alternative<Recording>(state_)) co_return true;
  setState(RequestingPermission{});
  bool allowed = co_await requestPermission();
  if (!allowed) {
    co_return failStart(
        dependencies_.words("Pell needs microphone access. Open System Settings › Privacy & Security › "
                            "Microphone and switch Pell on."));
  }
  co_return openCapture();
}

bool Recorder::openCapture() {
  fs::path file = scratchURL();
  auto opening = dependencies_.audio.open(file, AudioSettings{});
  if (auto* failure = std::get_if<AudioFailure>(&opening)) {
    removeFile(file);
    return failStart("Pell could not start the microphone: " + failure->description);
  }
  auto recording = std::move(std::get<std::unique_ptr<AudioRecording>>(opening));
  recording->setMeteringEnabled(true);
  restrictPermissions(file);
  recording->onFailure = [this](const std::string&) { loseMicrophone(); };
  if (!recording->record()) return failStart("Pell could not start the microphone. Try again.");

  // Two prompts that were open at once are answered together; the recording of the first goes.
  discardCapture();
  capture_ = Capture{std::move(recording), std::move(file)};
  elapsedSeconds_ = 0;
  level_ = 0;
  startTicking();
  setState(Recording{});
  return true;
}

std::optional<std::string> Recorder::stop() {
  timer_.stop();
  level_ = 0;
  if (!capture_) {
    setState(Idle{});
    return std::nullopt;
  }
  Capture capture = *std::exchange(capture_, std::nullopt);
  capture.recording->stop();
  capture.recording.reset();
  setState(Idle{});
  auto audio = readFile(capture.file);
  removeFile(capture.file);
  return audio;
}

void Recorder::clearFailure() {
  if (std::holds_alternative<Failed>(state_)) setState(Idle{});
}

int Recorder::sweepOrphans(const fs::path& directory, Date now, Seconds grace) const {
  int removed = 0;
  std::error_code failed;
  for (fs::directory_iterator at(directory, failed), end; !failed && at != end; at.increment(failed)) {
    if (!isScratchName(at->path().filename().string())) continue;
    auto written = modificationDate(at->path());
    if (written && now - *written < grace) continue;
    std::error_code kept;
    if (fs::remove(at->path(), kept)) ++removed;
  }
  if (removed > 0) dependencies_.log.info("audio_orphans_swept", {{"count", removed}});
  return removed;
}

fs::path Recorder::scratchURL() const {
  std::string name(filePrefix);
  name += makeUuid();
  name += fileExtension;
  return dependencies_.scratch / name;
}

bool Recorder::failStart(std::string message) {
  setState(Failed{std::move(message)});
  return false;
}

void Recorder::loseMicrophone() {
  if (!capture_) return;
  timer_.stop();
  level_ = 0;
  Capture capture = *std::exchange(capture_, std::nullopt);
  capture.recording->stop();
  removeFile(capture.file);
  // The recording is what called: it may go only once that call is over.
  dependencies_.main.post([ended = std::shared_ptr<AudioRecording>(std::move(capture.recording))] {});
  setState(Failed{"Pell lost the microphone. Check it and try again."});
}

void Recorder::discardCapture() {
  if (!capture_) return;
  capture_->recording->stop();
  removeFile(capture_->file);
  capture_.reset();
}

void Recorder::startTicking() {
  timer_.start(dependencies_.main, tickInterval, [this, start = dependencies_.clock.now()] { tick(start); });
}

void Recorder::tick(Date start) {
  if (!capture_) return;
  capture_->recording->updateMeters();
  double power = capture_->recording->averagePower(0);
  double input = power > silence ? std::clamp((power - silence) / -silence, 0.0, 1.0) : 0.0;
  level_ = input * 0.4 + level_ * 0.6;
  elapsedSeconds_ = static_cast<int>((dependencies_.clock.now() - start).count());
  if (onChange) onChange();
}

void Recorder::setState(State state) {
  state_ = std::move(state);
  if (onChange) onChange();
}

}  // namespace pell
