#include "localserver/Outbox.h"

#include <fmt/chrono.h>
#include <sys/stat.h>

#include "localserver/PrivateFile.h"
#include "localserver/Secrets.h"

namespace pell::localserver {
namespace {

namespace fs = std::filesystem;

/// The date of a letter, whose names of days and months are English whatever the locale.
std::string letterDate(UnixSeconds moment) {
  return fmt::format("{:%a, %d %b %Y %H:%M:%S +0000}", fmt::gmtime(static_cast<std::time_t>(moment)));
}

}  // namespace

Outbox::Outbox(fs::path folder, std::string sender, WallNow now)
    : folder_(std::move(folder)), sender_(std::move(sender)), now_(std::move(now)) {}

void Outbox::post(const Letter& letter) const {
  const UnixSeconds now = now_();
  const std::string id = newIdentifier();
  // Neither address can hold a line break, see normalizedEmail: no header of its own making gets in.
  const std::string text = fmt::format(
      "From: Pell <{}>\nTo: <{}>\nSubject: {}\nDate: {}\nMessage-ID: <{}@pell-server>\n"
      "Auto-Submitted: auto-generated\nMIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n"
      "Content-Transfer-Encoding: 8bit\n\n{}",
      sender_, letter.to, letter.subject, letterDate(now), id, letter.text);
  try {
    if (fs::create_directories(folder_)) chmod(folder_.c_str(), 0700);
    writePrivateFile(folder_ / fmt::format("{}-{}-{}.eml", now, letter.userId, id), text);
  } catch (const std::system_error& error) {
    throw MailFailure(
        fmt::format("No letter could be put into {}: {}.", folder_.string(), error.code().message()));
  }
}

void Outbox::discard(const std::string& userId) const {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder_, error)) {
    if (entry.path().filename().string().find("-" + userId + "-") != std::string::npos) {
      fs::remove(entry.path(), error);
    }
  }
}

}  // namespace pell::localserver
