#include "platform/portable/Threads.h"

#include <csignal>
#include <pthread.h>
#include <string>
#include <utility>

namespace pell {

std::thread startThread(std::string_view name, std::function<void()> body) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  // Blocked around the start, so that there is no instant at which the new thread takes one.
  pthread_sigmask(SIG_SETMASK, &all, &before);
  std::thread thread(std::move(body));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_setname_np(thread.native_handle(), std::string(name.substr(0, 15)).c_str());
  return thread;
}

}  // namespace pell
