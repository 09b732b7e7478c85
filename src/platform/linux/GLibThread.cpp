#include "platform/linux/GLibThread.h"

#include <pthread.h>
#include <utility>

namespace pell {

GLibThread::GLibThread(const char* name)
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_.get(), FALSE)) {
  thread_ = std::thread([context = context_.get(), loop = loop_.get()] {
    g_main_context_push_thread_default(context);
    g_main_loop_run(loop);
    g_main_context_pop_thread_default(context);
  });
  pthread_setname_np(thread_.native_handle(), name);
}

GLibThread::~GLibThread() { stop(); }

void GLibThread::stop() {
  if (!thread_.joinable()) return;
  // Posted, and not called from here, so that a thread that has not yet entered its loop sees it too.
  post([loop = loop_.get()] { g_main_loop_quit(loop); });
  thread_.join();
}

void GLibThread::postAfter(Seconds delay, std::function<void()> work) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(delay).count();
  GLibPtr<GSource> source(milliseconds > 0 ? g_timeout_source_new(static_cast<guint>(milliseconds))
                                           : g_idle_source_new());
  g_source_set_priority(source.get(), G_PRIORITY_DEFAULT);
  g_source_set_callback(
      source.get(),
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      std::make_unique<std::function<void()>>(std::move(work)).release(),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
  g_source_attach(source.get(), context_.get());
}

}  // namespace pell
