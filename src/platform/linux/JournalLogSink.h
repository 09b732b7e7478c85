#pragma once

#include "platform/portable/StreamLogSink.h"

namespace pell {

/// Writes each line to the system's journal, where there is one, and to a file descriptor.
class JournalLogSink final : public LogSink {
 public:
  /// Borrows `descriptor`.
  explicit JournalLogSink(int descriptor) : stream_(descriptor) {}

  void write(LogLevel level, std::string_view line) override;

 private:
  StreamLogSink stream_;
};

}  // namespace pell
