#include "platform/linux/JournalLogSink.h"

#include <sys/uio.h>
#include <syslog.h>

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <array>
#include <string>
#include <systemd/sd-journal.h>

namespace pell {
namespace {

/// Warnings go at the error priority, as both are looked for together.
int priority(LogLevel level) {
  switch (level) {
    case LogLevel::debug:
      return LOG_DEBUG;
    case LogLevel::info:
      return LOG_INFO;
    case LogLevel::warn:
    case LogLevel::error:
      return LOG_ERR;
  }
  return LOG_INFO;
}

iovec field(std::string& text) { return {text.data(), text.size()}; }

}  // namespace

void JournalLogSink::write(LogLevel level, std::string_view line) {
  std::string message = "MESSAGE=" + std::string(line);
  std::string identifier = "SYSLOG_IDENTIFIER=com.pell.dictation";
  std::string category = "PELL_CATEGORY=app";
  std::string urgency = "PRIORITY=" + std::to_string(priority(level));
  std::array fields{field(message), field(identifier), field(category), field(urgency)};
  // Without a journal the call fails at once, and the stream is the log.
  sd_journal_sendv(fields.data(), static_cast<int>(fields.size()));
  stream_.write(level, line);
}

}  // namespace pell
