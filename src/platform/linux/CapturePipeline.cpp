#include "platform/linux/CapturePipeline.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <system_error>
#include <utility>

#include "platform/linux/GLibPtr.h"

namespace pell {
namespace {

constexpr double quietest = -160;
// Once a failure was reported, the source ends the stream by itself, very soon or not at all.
constexpr Seconds endAfterFailure{0.2};

/// Small server buffers bring the first sound early; the queue keeps a slow encoder or disk from losing any.
/// The sink writes through, so that the file tells from outside when the first sound was heard.
std::string description(const AudioSettings& settings) {
  return fmt::format(
      "pulsesrc name=source client-name=Pell latency-time=10000 buffer-time=40000"
      " ! audioconvert ! audioresample"
      " ! audio/x-raw,format=F32LE,rate={},channels={}"
      " ! queue name=queue max-size-buffers=0 max-size-bytes=0 max-size-time=10000000000"
      " ! avenc_aac name=encoder bitrate={} ! aacparse ! mp4mux"
      " ! filesink name=sink buffer-mode=unbuffered async=false enable-last-sample=false",
      static_cast<int>(settings.sampleRate), settings.channels, settings.bitRate);
}

std::string textOf(GError* error) {
  GLibPtr<GError> held(error);
  return held ? held->message : "The audio system is not complete.";
}

}  // namespace

CapturePipeline::Building CapturePipeline::build(const AudioSettings& settings) {
  GError* error = nullptr;
  if (!gst_init_check(nullptr, nullptr, &error)) return AudioFailure{textOf(error)};
  GstElement* pipeline =
      gst_parse_launch_full(description(settings).c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error);
  if (!pipeline) return AudioFailure{textOf(error)};
  gst_object_ref_sink(pipeline);
  auto made = std::make_shared<CapturePipeline>(pipeline);
  if (gst_element_set_state(pipeline, GST_STATE_READY) == GST_STATE_CHANGE_FAILURE)
    return AudioFailure{"The audio encoder could not be started."};
  return made;
}

CapturePipeline::CapturePipeline(GstElement* pipeline)
    : pipeline_(pipeline),
      source_(gst_bin_get_by_name(GST_BIN(pipeline), "source")),
      sink_(gst_bin_get_by_name(GST_BIN(pipeline), "sink")) {
  // Left behind when the rest is made ready: the connection of the one would break with every restart of the
  // server, and the other opens its file as soon as it is ready.
  gst_element_set_locked_state(source_, TRUE);
  gst_element_set_locked_state(sink_, TRUE);
  GstBus* bus = gst_element_get_bus(pipeline_);
  gst_bus_set_sync_handler(bus, &CapturePipeline::onMessage, this, nullptr);
  gst_object_unref(bus);
  GstElement* encoder = gst_bin_get_by_name(GST_BIN(pipeline_), "encoder");
  GstPad* pad = gst_element_get_static_pad(encoder, "sink");
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &CapturePipeline::onBuffer, this, nullptr);
  gst_object_unref(pad);
  gst_object_unref(encoder);
}

CapturePipeline::~CapturePipeline() {
  close();
  GstBus* bus = gst_element_get_bus(pipeline_);
  gst_bus_set_sync_handler(bus, nullptr, nullptr, nullptr);
  gst_object_unref(bus);
  gst_object_unref(source_);
  gst_object_unref(sink_);
  gst_object_unref(pipeline_);
}

std::optional<AudioFailure> CapturePipeline::connect() {
  gst_element_set_locked_state(source_, FALSE);
  if (gst_element_set_state(source_, GST_STATE_READY) != GST_STATE_CHANGE_FAILURE) return std::nullopt;
  std::lock_guard lock(mutex_);
  return AudioFailure{failure_.value_or("The sound server does not answer.")};
}

void CapturePipeline::setFailureHandler(std::function<void(std::string)> handler) {
  std::lock_guard lock(mutex_);
  onFailure_ = std::move(handler);
}

bool CapturePipeline::start(const std::filesystem::path& file) {
  file_ = file;
  g_object_set(sink_, "location", file.c_str(), nullptr);
  gst_element_set_locked_state(sink_, FALSE);
  return gst_element_set_state(pipeline_, GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
}

void CapturePipeline::finish(Seconds limit) {
  bool failed = false;
  {
    std::lock_guard lock(mutex_);
    onFailure_ = nullptr;
    failed = failure_.has_value();
  }
  // Behind the source and not through it: a source whose server hangs would hold this call up for ever.
  if (!failed) {
    GstElement* queue = gst_bin_get_by_name(GST_BIN(pipeline_), "queue");
    GstPad* entry = gst_element_get_static_pad(queue, "sink");
    gst_pad_send_event(entry, gst_event_new_eos());
    gst_object_unref(entry);
    gst_object_unref(queue);
  }
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, failed ? endAfterFailure : limit, [this] { return ended_; });
}

void CapturePipeline::close() {
  gst_element_set_state(pipeline_, GST_STATE_NULL);
  const auto file = std::exchange(file_, {});
  std::lock_guard lock(powerMutex_);
  if (file.empty() || heard_) return;
  std::error_code ignored;
  std::filesystem::resize_file(file, 0, ignored);
}

std::optional<double> CapturePipeline::takePower() {
  double squares = 0;
  std::size_t samples = 0;
  {
    std::lock_guard lock(powerMutex_);
    squares = std::exchange(squares_, 0);
    samples = std::exchange(samples_, 0);
  }
  if (samples == 0) return std::nullopt;
  const double mean = squares / static_cast<double>(samples);
  return mean > 0 ? std::clamp(10 * std::log10(mean), quietest, 0.0) : quietest;
}

GstBusSyncReply CapturePipeline::onMessage(GstBus*, GstMessage* message, gpointer self) {
  auto* pipeline = static_cast<CapturePipeline*>(self);
  if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
    std::lock_guard lock(pipeline->mutex_);
    pipeline->ended_ = true;
    pipeline->changed_.notify_all();
  } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
    pipeline->noteFailure(*message);
  }
  gst_message_unref(message);
  return GST_BUS_DROP;
}

void CapturePipeline::noteFailure(GstMessage& message) {
  GError* error = nullptr;
  gst_message_parse_error(&message, &error, nullptr);
  const std::string text = textOf(error);
  std::function<void(std::string)> handler;
  {
    std::lock_guard lock(mutex_);
    if (failure_) return;
    failure_ = text;
    handler = std::exchange(onFailure_, nullptr);
  }
  if (handler) handler(text);
}

GstPadProbeReturn CapturePipeline::onBuffer(GstPad*, GstPadProbeInfo* info, gpointer self) {
  auto* pipeline = static_cast<CapturePipeline*>(self);
  GstMapInfo map;
  GstBuffer* buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return GST_PAD_PROBE_OK;
  const auto* values = reinterpret_cast<const float*>(map.data);
  const std::size_t count = map.size / sizeof(float);
  double squares = 0;
  for (std::size_t i = 0; i < count; ++i) squares += double{values[i]} * double{values[i]};
  gst_buffer_unmap(buffer, &map);
  std::lock_guard lock(pipeline->powerMutex_);
  pipeline->squares_ += squares;
  pipeline->samples_ += count;
  pipeline->heard_ = true;
  return GST_PAD_PROBE_OK;
}

}  // namespace pell
