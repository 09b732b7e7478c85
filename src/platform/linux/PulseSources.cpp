#include "platform/linux/PulseSources.h"

#include <algorithm>
#include <sys/time.h>
#include <utility>
#include <vector>

namespace pell {
namespace {

constexpr Seconds firstRetry{0.25};
constexpr Seconds longestRetry{5};
constexpr Seconds accessLimit{2};
constexpr Seconds betweenAttempts{5};

timeval after(Seconds delay) {
  timeval when{};
  gettimeofday(&when, nullptr);
  pa_timeval_add(&when, static_cast<pa_usec_t>(delay.count() * 1e6));
  return when;
}

class LoopLock {
 public:
  explicit LoopLock(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
  ~LoopLock() { pa_threaded_mainloop_unlock(loop_); }
  LoopLock(const LoopLock&) = delete;
  LoopLock& operator=(const LoopLock&) = delete;

 private:
  pa_threaded_mainloop* loop_;
};

void release(pa_operation* operation) {
  if (operation) pa_operation_unref(operation);
}

}  // namespace

/// A capture that is being tried out, with everybody who waits for its outcome.
struct PulseSources::Attempt {
  pa_stream* stream = nullptr;  // from when the connection stands
  pa_time_event* limit = nullptr;
  std::vector<std::function<void(Access)>> answers;
};

PulseSources::PulseSources() : loop_(pa_threaded_mainloop_new()) {
  pa_threaded_mainloop_set_name(loop_, "sources");
  connect();
  pa_threaded_mainloop_start(loop_);
}

PulseSources::~PulseSources() {
  pa_threaded_mainloop_stop(loop_);
  auto* api = pa_threaded_mainloop_get_api(loop_);
  if (attempt_) {
    api->time_free(attempt_->limit);
    if (attempt_->stream) {
      pa_stream_set_state_callback(attempt_->stream, nullptr, nullptr);
      pa_stream_unref(attempt_->stream);
    }
  }
  if (retry_) api->time_free(retry_);
  if (again_) api->time_free(again_);
  if (context_) {
    pa_context_set_state_callback(context_, nullptr, nullptr);
    pa_context_disconnect(context_);
    pa_context_unref(context_);
  }
  pa_threaded_mainloop_free(loop_);
}

void PulseSources::connect() {
  counted_ = 0;
  context_ = pa_context_new(pa_threaded_mainloop_get_api(loop_), "Pell");
  pa_context_set_state_callback(
      context_, [](pa_context*, void* self) { static_cast<PulseSources*>(self)->onContextState(); }, this);
  if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) retry();
}

void PulseSources::retry() {
  known_ = false;
  microphones_ = 0;
  settled_ = true;
  if (retry_) return;
  retryDelay_ = std::clamp(retryDelay_ * 2, firstRetry, longestRetry);
  auto* api = pa_threaded_mainloop_get_api(loop_);
  const timeval when = after(retryDelay_);
  retry_ = api->time_new(
      api, &when,
      [](pa_mainloop_api* loopApi, pa_time_event* event, const timeval*, void* data) {
        auto* self = static_cast<PulseSources*>(data);
        loopApi->time_free(event);
        self->retry_ = nullptr;
        if (auto* old = std::exchange(self->context_, nullptr)) {
          pa_context_set_state_callback(old, nullptr, nullptr);
          pa_context_unref(old);
        }
        self->connect();
      },
      this);
}

void PulseSources::onContextState() {
  switch (pa_context_get_state(context_)) {
    case PA_CONTEXT_READY:
      retryDelay_ = Seconds(0);
      refused_ = false;
      pa_context_set_subscribe_callback(
          context_,
          [](pa_context*, pa_subscription_event_type_t event, uint32_t, void* self) {
            // A level or a name changes often; only coming and going matters.
            if ((event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) != PA_SUBSCRIPTION_EVENT_CHANGE)
              static_cast<PulseSources*>(self)->list();
          },
          this);
      release(pa_context_subscribe(context_, PA_SUBSCRIPTION_MASK_SOURCE, nullptr, nullptr));
      onReady();
      break;
    case PA_CONTEXT_FAILED:
      noteRefusal();
      finishAttempt(refused_ ? Access::refused : Access::unknown);
      retry();
      break;
    case PA_CONTEXT_TERMINATED:
      retry();
      break;
    default:
      break;
  }
}

void PulseSources::noteRefusal() { refused_ = pa_context_errno(context_) == PA_ERR_ACCESS; }

void PulseSources::list() {
  release(pa_context_get_source_info_list(
      context_,
      [](pa_context*, const pa_source_info* source, int end, void* data) {
        auto* self = static_cast<PulseSources*>(data);
        if (end == 0) {
          if (source->monitor_of_sink == PA_INVALID_INDEX) ++self->counted_;
          return;
        }
        if (end < 0) return;
        // Listings may overlap; their answers come one after the other.
        self->microphones_ = std::exchange(self->counted_, 0);
        self->known_ = true;
        self->settled_ = true;
      },
      this));
}

void PulseSources::onReady() {
  list();
  if (attempt_) startAttempt();
  awaitAllowance();
}

void PulseSources::whenAllowed(std::function<void()> allowed) {
  LoopLock lock(loop_);
  allowed_ = std::move(allowed);
  tryAgainLater();
}

void PulseSources::awaitAllowance() {
  if (!allowed_) return;
  beginAttempt([this](Access access) {
    if (access != Access::granted) {
      tryAgainLater();
    } else if (auto allowed = std::exchange(allowed_, nullptr)) {
      allowed();
    }
  });
}

/// A server that refuses a capture and keeps the connection tells nobody when it has changed its mind.
void PulseSources::tryAgainLater() {
  if (again_ || pa_context_get_state(context_) != PA_CONTEXT_READY) return;
  auto* api = pa_threaded_mainloop_get_api(loop_);
  const timeval when = after(betweenAttempts);
  again_ = api->time_new(
      api, &when,
      [](pa_mainloop_api* loopApi, pa_time_event* event, const timeval*, void* data) {
        auto* self = static_cast<PulseSources*>(data);
        loopApi->time_free(event);
        self->again_ = nullptr;
        self->awaitAllowance();
      },
      this);
}

void PulseSources::tryAccess(std::function<void(Access)> answer) {
  LoopLock lock(loop_);
  beginAttempt(std::move(answer));
}

void PulseSources::beginAttempt(std::function<void(Access)> answer) {
  if (attempt_) {
    attempt_->answers.push_back(std::move(answer));
    return;
  }
  const auto state = context_ ? pa_context_get_state(context_) : PA_CONTEXT_FAILED;
  if (!PA_CONTEXT_IS_GOOD(state)) {
    answer(refused_ ? Access::refused : Access::unknown);
    return;
  }
  attempt_ = std::make_unique<Attempt>();
  attempt_->answers.push_back(std::move(answer));
  auto* api = pa_threaded_mainloop_get_api(loop_);
  const timeval when = after(accessLimit);
  attempt_->limit = api->time_new(
      api, &when,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        static_cast<PulseSources*>(self)->finishAttempt(Access::unknown);
      },
      this);
  if (state == PA_CONTEXT_READY) startAttempt();
}

void PulseSources::startAttempt() {
  const pa_sample_spec format = {.format = PA_SAMPLE_S16LE, .rate = 16000, .channels = 1};
  attempt_->stream = pa_stream_new(context_, "Microphone check", &format, nullptr);
  pa_stream_set_state_callback(
      attempt_->stream,
      [](pa_stream* stream, void* data) {
        auto& self = *static_cast<PulseSources*>(data);
        const auto state = pa_stream_get_state(stream);
        if (state == PA_STREAM_READY) {
          self.refused_ = false;
          self.finishAttempt(Access::granted);
        }
        if (state != PA_STREAM_FAILED) return;
        self.noteRefusal();
        self.finishAttempt(self.refused_ ? Access::refused : Access::unknown);
      },
      this);
  if (pa_stream_connect_record(attempt_->stream, nullptr, nullptr, PA_STREAM_NOFLAGS) < 0)
    finishAttempt(Access::unknown);
}

void PulseSources::finishAttempt(Access access) {
  auto attempt = std::exchange(attempt_, nullptr);
  if (!attempt) return;
  if (attempt->stream) {
    pa_stream_set_state_callback(attempt->stream, nullptr, nullptr);
    pa_stream_disconnect(attempt->stream);
    pa_stream_unref(attempt->stream);
  }
  pa_threaded_mainloop_get_api(loop_)->time_free(attempt->limit);
  for (const auto& answer : attempt->answers) answer(access);
}

}  // namespace pell
