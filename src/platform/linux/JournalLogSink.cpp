#include "platform/linux/JournalLogSink.h"

#include <cstdlib>
#include <sys/stat.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace pell {
namespace {

/// The system's own numbers. Warnings count as errors there.
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

/// Whether a service manager has joined standard error to the journal; it then names the stream's device
/// and inode.
bool standardErrorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat facts {};
  if (!stream || fstat(STDERR_FILENO, &facts) != 0) return false;
  return stream == std::to_string(facts.st_dev) + ":" + std::to_string(facts.st_ino);
}

JournalLogSink::Journal systemJournal() {
  if (access("/run/systemd/journal/socket", W_OK) != 0) return nullptr;
  return [](const std::vector<std::string>& fields) {
    std::vector<iovec> parts;
    for (const auto& field : fields) parts.push_back({const_cast<char*>(field.data()), field.size()});
    sd_journal_sendv(parts.data(), static_cast<int>(parts.size()));
  };
}

}  // namespace

JournalLogSink::JournalLogSink(LogSink& next) : JournalLogSink(next, systemJournal()) {
  if (journal_ && standardErrorIsJournal()) next_ = nullptr;  // each line once
}

JournalLogSink::JournalLogSink(LogSink& next, Journal journal) : journal_(std::move(journal)), next_(&next) {}

void JournalLogSink::write(LogLevel level, std::string_view line) {
  if (next_) next_->write(level, line);
  if (!journal_) return;
  journal_({"MESSAGE=" + std::string(line), "PRIORITY=" + std::to_string(priority(level)),
            "SYSLOG_IDENTIFIER=com.pell.dictation"});
}

}  // namespace pell
