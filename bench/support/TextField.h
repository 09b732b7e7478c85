// A text field of another program, which tells at once when its text has changed.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "async/Time.h"
#include "linux/AppProcess.h"

namespace pell::bench {

class TextField {
 public:
  /// Starts the program; its window takes the focus.
  TextField();
  ~TextField();

  int process() const { return program_.pid(); }

  /// When the field came to hold that many characters since the last `clear`; absent if it did not in time.
  std::optional<Instant> filled(int characters, Seconds limit = Seconds(5));

  std::string text();

  /// Returns once it is empty.
  void clear();

 private:
  void read();

  testing::AppProcess program_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<int, Instant> counts_;
  std::optional<std::string> text_;
  bool ended_ = false;
  std::jthread reader_;
};

}  // namespace pell::bench
