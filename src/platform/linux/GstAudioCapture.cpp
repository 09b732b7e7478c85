#include "platform/linux/GstAudioCapture.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

#include "platform/linux/CapturePipeline.h"
#include "platform/linux/PulseSources.h"

namespace pell {
namespace {

constexpr const char* allowedKey = "microphoneAllowed";
constexpr Seconds connectLimit{1.0};
constexpr Seconds finishLimit{0.5};
constexpr Seconds closeLimit{0.5};
constexpr double silence = -160;

/// Runs `work` on a thread of its own and waits at most `limit`. A sound server that hangs would hold up the
/// main loop for half a minute otherwise; the thread is left to it, with all that it needs in its hands.
template <class Work>
auto runWithin(Seconds limit, Work work) -> std::optional<decltype(work())> {
  std::packaged_task<decltype(work())()> task(std::move(work));
  auto outcome = task.get_future();
  std::thread(std::move(task)).detach();
  if (outcome.wait_for(limit) != std::future_status::ready) return std::nullopt;
  return outcome.get();
}

/// Empty on success. The file is ours alone before the first byte of speech is in it.
std::string createPrivateFile(const std::filesystem::path& file) {
  const int descriptor =
      ::open(file.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return std::generic_category().message(errno);
  const bool restricted = ::fchmod(descriptor, S_IRUSR | S_IWUSR) == 0;
  const int error = errno;
  ::close(descriptor);
  return restricted ? std::string() : std::generic_category().message(error);
}

class GstRecording : public AudioRecording {
 public:
  struct Parts {
    std::shared_ptr<CapturePipeline> pipeline;
    std::filesystem::path file;
    Executor& main;
    Log log;
    std::function<void()> onEnd;
  };

  explicit GstRecording(Parts parts)
      : parts_(std::move(parts)), self_(std::make_shared<GstRecording*>(this)) {}

  ~GstRecording() override {
    self_.reset();
    stop();
  }

  void setMeteringEnabled(bool enabled) override { metering_ = enabled; }

  bool record() override {
    if (!parts_.pipeline || recording_) return recording_;
    auto report = [&main = parts_.main, weak = std::weak_ptr(self_)](std::string text) {
      main.post([weak, text = std::move(text)] {
        auto self = weak.lock();
        if (!self || !(*self)->recording_) return;
        (*self)->parts_.log.warn("microphone_lost", {{"reason", text}});
        if ((*self)->onFailure) (*self)->onFailure(text);
      });
    };
    parts_.pipeline->setFailureHandler(std::move(report));
    recording_ = parts_.pipeline->start(parts_.file);
    if (!recording_) end();
    return recording_;
  }

  void stop() override {
    if (std::exchange(recording_, false)) parts_.pipeline->finish(finishLimit);
    end();
  }

  void updateMeters() override {
    if (!metering_ || !parts_.pipeline) return;
    if (auto power = parts_.pipeline->takePower()) power_ = *power;
  }

  double averagePower(int) const override { return power_; }

 private:
  void end() {
    auto pipeline = std::exchange(parts_.pipeline, nullptr);
    if (!pipeline) return;
    runWithin(closeLimit, [pipeline = std::move(pipeline)] {
      pipeline->close();
      return true;
    });
    if (parts_.onEnd) parts_.onEnd();
  }

  Parts parts_;
  bool recording_ = false;
  bool metering_ = false;
  double power_ = silence;
  std::shared_ptr<GstRecording*> self_;
};

}  // namespace

GstAudioCapture::GstAudioCapture(Executor& main, UserDefaults& defaults, const Log& log)
    : main_(main),
      defaults_(defaults),
      log_(log),
      sources_(std::make_unique<PulseSources>()),
      self_(std::make_shared<GstAudioCapture*>(this)) {
  prepareNext();
}

GstAudioCapture::~GstAudioCapture() = default;

MicrophoneAuthorization GstAudioCapture::authorization() const {
  if (sources_->isRefused()) return MicrophoneAuthorization::denied;
  return defaults_.value<bool>(allowedKey).value_or(false) ? MicrophoneAuthorization::authorized
                                                           : MicrophoneAuthorization::notDetermined;
}

bool GstAudioCapture::hasDefaultDevice() const { return sources_->hasMicrophone(); }

void GstAudioCapture::requestAccess(std::function<void(bool granted)> answer) {
  sources_->tryAccess([&main = main_, weak = std::weak_ptr(self_), answer](PulseSources::Access access) {
    main.post([weak, answer, access] {
      auto self = weak.lock();
      if (self && access == PulseSources::Access::granted) (*self)->remember();
      if (self && access == PulseSources::Access::refused) (*self)->awaitAllowance();
      answer(access != PulseSources::Access::refused);
    });
  });
}

void GstAudioCapture::remember() { defaults_.set(allowedKey, true); }

/// The user was asked and has agreed: nobody asks again once the server lets us in.
void GstAudioCapture::awaitAllowance() {
  sources_->whenAllowed([&main = main_, weak = std::weak_ptr(self_)] {
    main.post([weak] {
      if (auto self = weak.lock()) (*self)->remember();
    });
  });
}

AudioOpening GstAudioCapture::open(const std::filesystem::path& file, const AudioSettings& settings) {
  auto opening = openWithoutReport(file, settings);
  if (auto* failure = std::get_if<AudioFailure>(&opening)) {
    log_.warn("microphone_unavailable", {{"reason", failure->description}});
  }
  return opening;
}

AudioOpening GstAudioCapture::openWithoutReport(const std::filesystem::path& file,
                                                const AudioSettings& settings) {
  if (sources_->isKnown() && !sources_->hasMicrophone()) return AudioFailure{"No microphone is connected."};
  if (auto problem = createPrivateFile(file); !problem.empty()) return AudioFailure{problem};
  auto abandon = [&](std::string reason) -> AudioOpening {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    prepareNext();
    return AudioFailure{std::move(reason)};
  };
  auto building = takePipeline(settings);
  if (auto* failure = std::get_if<AudioFailure>(&building)) return abandon(failure->description);
  auto pipeline = std::get<Pipeline>(std::move(building));
  auto connected = runWithin(connectLimit, [pipeline] { return pipeline->connect(); });
  if (!connected) return abandon("The sound server does not answer.");
  if (*connected) return abandon((*connected)->description);
  auto onEnd = [weak = std::weak_ptr(self_)] {
    if (auto self = weak.lock()) (*self)->prepareNext();
  };
  return std::make_unique<GstRecording>(GstRecording::Parts{
      .pipeline = std::move(pipeline), .file = file, .main = main_, .log = log_, .onEnd = std::move(onEnd)});
}

GstAudioCapture::Building GstAudioCapture::takePipeline(const AudioSettings& settings) {
  const bool fits = std::exchange(prepared_, settings) == settings;
  if (next_.valid()) {
    auto building = next_.get();
    if (fits && std::holds_alternative<Pipeline>(building)) return building;
  }
  return CapturePipeline::build(settings);
}

void GstAudioCapture::prepareNext() {
  if (next_.valid()) return;
  next_ = std::async(std::launch::async, [settings = prepared_] { return CapturePipeline::build(settings); });
}

}  // namespace pell
