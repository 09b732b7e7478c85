#include "bench/support/CaptureWatch.h"

#include <atomic>
#include <chrono>
#include <gst/gst.h>
#include <string_view>
#include <thread>

#include "bench/support/Figures.h"

namespace pell::bench {

struct CaptureWatch::Hook {
  Hook() {
    gst_init(nullptr, nullptr);
    g_type_class_unref(g_type_class_ref(GST_TYPE_BIN));
    signal = g_signal_lookup("element-added", GST_TYPE_BIN);
    number = g_signal_add_emission_hook(signal, 0, &Hook::onElement, this, nullptr);
  }
  ~Hook() { g_signal_remove_emission_hook(signal, number); }

  static gboolean onElement(GSignalInvocationHint*, guint count, const GValue* values, gpointer self) {
    if (count < 2) return TRUE;
    auto* element = GST_ELEMENT(g_value_get_object(&values[1]));
    GstElementFactory* factory = gst_element_get_factory(element);
    if (!factory || std::string_view(GST_OBJECT_NAME(factory)) != "pulsesrc") return TRUE;
    GstPad* pad = gst_element_get_static_pad(element, "src");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &Hook::onBuffer, self, nullptr);
    gst_object_unref(pad);
    return TRUE;
  }

  static GstPadProbeReturn onBuffer(GstPad*, GstPadProbeInfo*, gpointer self) {
    Instant::rep none = 0;
    static_cast<Hook*>(self)->first.compare_exchange_strong(none, now().time_since_epoch().count());
    return GST_PAD_PROBE_OK;
  }

  std::atomic<Instant::rep> first = 0;
  guint signal = 0;
  gulong number = 0;
};

CaptureWatch::CaptureWatch() : hook_(std::make_unique<Hook>()) {}

CaptureWatch::~CaptureWatch() = default;

void CaptureWatch::rearm() { hook_->first = 0; }

std::optional<Instant> CaptureWatch::firstBuffer() const {
  const auto count = hook_->first.load();
  return count == 0 ? std::nullopt : std::optional(Instant(Instant::duration(count)));
}

std::optional<double> bareCapture(CaptureWatch& watch) {
  GstElement* pipeline =
      gst_parse_launch("pulsesrc latency-time=10000 buffer-time=40000 ! fakesink", nullptr);
  if (!pipeline) return std::nullopt;
  watch.rearm();
  const Instant start = now();
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  const auto end = start + std::chrono::seconds(2);
  while (!watch.firstBuffer() && now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const auto first = watch.firstBuffer();
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
  if (!first) return std::nullopt;
  return millisecondsBetween(start, *first);
}

}  // namespace pell::bench
