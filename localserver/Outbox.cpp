#include "localserver/Outbox.h"

#include <charconv>
#include <fmt/chrono.h>

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

Outbox::Outbox(Setup setup) : setup_(std::move(setup)) {}

void Outbox::post(const Letter& letter) const {
  const UnixSeconds now = setup_.now();
  const std::string id = newIdentifier();
  // Neither address can hold a line break, see normalizedEmail: no header of its own making gets in.
  const std::string text = fmt::format(
      "From: Pell <{}>\nTo: <{}>\nSubject: {}\nDate: {}\nMessage-ID: <{}@pell-server>\n"
      "Auto-Submitted: auto-generated\nMIME-Version: 1.0\nContent-Type: text/plain; charset=utf-8\n"
      "Content-Transfer-Encoding: 8bit\n\n{}",
      setup_.sender, letter.to, letter.subject, letterDate(now), id, letter.text);
  try {
    makePrivateFolder(setup_.folder);
    sweep(now);
    writePrivateFile(setup_.folder / fmt::format("{}-{}-{}.eml", now, letter.userId, id), text);
  } catch (const std::system_error& error) {
    throw MailFailure(
        fmt::format("No letter could be put into {}: {}.", setup_.folder.string(), error.code().message()));
  }
}

/// Where nobody sends letters off they would lie there for ever, and their links are dead.
void Outbox::sweep(UnixSeconds now) const {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(setup_.folder, error)) {
    const std::string name = entry.path().filename().string();
    UnixSeconds written = 0;
    const bool isLetter = name.ends_with(".eml") &&
                          std::from_chars(name.data(), name.data() + name.size(), written).ec == std::errc();
    if (isLetter && now - written >= setup_.lifetime.count()) fs::remove(entry.path(), error);
  }
}

void Outbox::discard(const std::string& userId) const {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(setup_.folder, error)) {
    if (entry.path().filename().string().find("-" + userId + "-") != std::string::npos) {
      fs::remove(entry.path(), error);
    }
  }
}

}  // namespace pell::localserver
