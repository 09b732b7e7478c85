// Owning pointers for GLib's reference-counted things.
#pragma once

#include <gio/gio.h>
#include <memory>
#include <string>

namespace pell {

struct GLibDelete {
  void operator()(GVariant* value) const { g_variant_unref(value); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(GMainContext* context) const { g_main_context_unref(context); }
  void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
  void operator()(GSource* source) const { g_source_unref(source); }
  void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
  void operator()(GCancellable* cancellable) const { g_object_unref(cancellable); }
  void operator()(char* text) const { g_free(text); }
};

template <class T>
using GLibPtr = std::unique_ptr<T, GLibDelete>;

/// Another reference to what `object` already holds; empty for null.
template <class T>
GLibPtr<T> shareGObject(T* object) {
  return GLibPtr<T>(object ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

/// Takes over a floating value.
inline GLibPtr<GVariant> sinkVariant(GVariant* floating) {
  return GLibPtr<GVariant>(floating ? g_variant_ref_sink(floating) : nullptr);
}

}  // namespace pell
