// A thread that serves X connections.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "async/Time.h"
#include "platform/linux/X11Connection.h"

union _XEvent;

namespace pell {

/// Waits for events of its connections, for posted work and for its timers, and sleeps while there is
/// nothing to do. Connections are handed over before `start`; from then on only the loop's thread touches
/// them. The handlers run on that thread and may call `pump`.
class X11Loop {
 public:
  using Work = std::function<void()>;
  using Handler = std::function<void(_XEvent&)>;

  explicit X11Loop(std::string name);
  X11Loop(const X11Loop&) = delete;
  X11Loop& operator=(const X11Loop&) = delete;

  /// Ends the thread; work that still waits is dropped.
  ~X11Loop();

  void watch(std::unique_ptr<X11Connection> connection, Handler handler);

  /// `lost` runs once on the loop's thread when a connection is gone; the loop ends with it.
  void start(Work lost);
  void stop();

  /// Any thread. Dropped once the loop has ended.
  void post(Work work);

  /// Runs `work` on the loop's thread and waits for its end, at most for `limit`. False when it did not
  /// run to its end in time; it may then still run, so it must own what it touches. Not from the loop.
  bool call(Work work, Seconds limit);

  /// Loop thread: runs `work` at `due`, unless the loop ends first.
  void at(Instant due, Work work);

  /// Loop thread: handles events and timers (posted work stays where it is) until `done` holds or
  /// `deadline` has passed. Gives whether `done` holds.
  bool pump(const std::function<bool()>& done, Instant deadline);

  /// True once the loop is ending, so that long work ends too.
  bool isStopping() const { return stopping_; }

  static Instant now();

 private:
  struct Watched {
    std::unique_ptr<X11Connection> connection;
    Handler handler;
  };

  void run(const Work& lost);
  bool isLost() const;
  bool handleEvents();
  void runTimers();
  bool hasPosted();
  void runPosted();
  void sleep(std::optional<Instant> deadline);
  void wake() const;

  std::string name_;
  std::vector<Watched> watched_;
  int wakeDescriptor_;
  std::mutex mutex_;
  std::vector<Work> posted_;
  bool ended_ = false;
  std::multimap<Instant, Work> timers_;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

}  // namespace pell
