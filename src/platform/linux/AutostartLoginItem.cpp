#include "platform/linux/AutostartLoginItem.h"

#include <fstream>
#include <glib.h>
#include <memory>
#include <system_error>
#include <utility>

namespace pell {
namespace {

namespace fs = std::filesystem;

enum Status { absent = 0, enabled = 1, switchedOff = 2 };

constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;

/// As an argument of an Exec line: quoted, and its signs doubled, as field codes are looked for in quotes
/// too.
std::string quoted(const std::string& path) {
  std::string result = "\"";
  for (char c : path) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') result += "\\\\";
    if (c == '%') result += '%';
    result += c;
    if (c == '\\') result += '\\';  // a value's own escape, on top of the quotes'
  }
  return result + "\"";
}

std::string writeEntry(const fs::path& entry, const std::string& content) {
  std::error_code error;
  fs::create_directories(entry.parent_path(), error);
  if (error) return error.message();
  fs::path fresh = entry;
  fresh += ".new";
  std::ofstream out(fresh, std::ios::binary | std::ios::trunc);
  out << content;
  out.close();
  if (out.fail()) {
    fs::remove(fresh, error);
    return "The autostart entry cannot be written.";
  }
  fs::rename(fresh, entry, error);
  return error ? error.message() : "";
}

}  // namespace

AutostartLoginItem::AutostartLoginItem(fs::path configHome, fs::path executable)
    : entry_(std::move(configHome) / "autostart" / "com.pell.dictation.desktop"),
      executable_(std::move(executable)) {}

fs::path AutostartLoginItem::thisProgram() {
  std::error_code error;
  auto path = fs::read_symlink("/proc/self/exe", error).string();
  // After an upgrade the kernel marks the file that was replaced; the new one has the old name.
  constexpr std::string_view mark = " (deleted)";
  if (path.ends_with(mark)) path.resize(path.size() - mark.size());
  return path;
}

int AutostartLoginItem::status() const {
  std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(), g_key_file_unref);
  if (!g_key_file_load_from_file(file.get(), entry_.c_str(), G_KEY_FILE_NONE, nullptr)) return absent;
  if (!g_key_file_has_group(file.get(), group)) return absent;
  if (g_key_file_get_boolean(file.get(), group, "Hidden", nullptr)) return switchedOff;
  const char* gnome = "X-GNOME-Autostart-enabled";
  if (g_key_file_has_key(file.get(), group, gnome, nullptr) &&
      !g_key_file_get_boolean(file.get(), group, gnome, nullptr)) {
    return switchedOff;
  }
  return enabled;
}

std::string AutostartLoginItem::setRegistered(bool registered) {
  if (!registered) {
    std::error_code error;
    fs::remove(entry_, error);
    return error ? error.message() : "";
  }
  return writeEntry(entry_, "[Desktop Entry]\nType=Application\nName=Pell\nComment=Dictation\nExec=" +
                                quoted(executable_.string()) +
                                "\nIcon=com.pell.dictation\nTerminal=false\nStartupNotify=false\n");
}

}  // namespace pell
