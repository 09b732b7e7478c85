#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Services.h"

namespace pell {

/// Sends each line to the journal, where there is one, and to another sink. Lines look there like those of
/// any service: identifier, priority, message. Any thread.
class JournalLogSink final : public LogSink {
 public:
  /// Takes the fields ("NAME=value") of one entry.
  using Journal = std::function<void(const std::vector<std::string>& fields)>;

  /// `next` gets every line, unless it is standard error and that already leads to the journal.
  explicit JournalLogSink(LogSink& next);
  JournalLogSink(LogSink& next, Journal journal);

  void write(LogLevel level, std::string_view line) override;

 private:
  Journal journal_;
  LogSink* next_;
};

}  // namespace pell
