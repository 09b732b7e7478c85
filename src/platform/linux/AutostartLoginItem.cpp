#include "platform/linux/AutostartLoginItem.h"

#include <fmt/format.h>
#include <fstream>

#include "platform/linux/GLibPtr.h"

namespace pell {
namespace {

constexpr const char* group = "Desktop Entry";

/// An argument of an Exec line: quoted, with the characters escaped that its syntax knows.
std::string quoted(const std::string& argument) {
  std::string result = "\"";
  for (char c : argument) {
    if (c == '"' || c == '`' || c == '$' || c == '\\') result += "\\\\";
    if (c == '%') result += '%';
    result += c;
  }
  return result + "\"";
}

bool isSet(GKeyFile* entry, const char* key, bool otherwise) {
  GError* error = nullptr;
  const bool value = g_key_file_get_boolean(entry, group, key, &error);
  if (!error) return value;
  g_error_free(error);
  return otherwise;
}

}  // namespace

AutostartLoginItem::AutostartLoginItem(const std::filesystem::path& configHome, std::filesystem::path program)
    : file_(configHome / "autostart" / "com.pell.dictation.desktop"), program_(std::move(program)) {}

int AutostartLoginItem::status() const {
  GKeyFile* entry = g_key_file_new();
  const bool isThere = g_key_file_load_from_file(entry, file_.c_str(), G_KEY_FILE_NONE, nullptr);
  const bool isOn =
      isThere && !isSet(entry, "Hidden", false) && isSet(entry, "X-GNOME-Autostart-enabled", true);
  g_key_file_free(entry);
  return isOn ? 1 : 0;
}

std::string AutostartLoginItem::setRegistered(bool registered) {
  std::error_code error;
  if (!registered) {
    std::filesystem::remove(file_, error);
    return error ? error.message() : "";
  }
  std::filesystem::create_directories(file_.parent_path(), error);
  if (error) return error.message();
  std::ofstream entry(file_, std::ios::trunc);
  entry << fmt::format("[Desktop Entry]\nType=Application\nName=Pell\nExec={} --hidden\nTerminal=false\n",
                       quoted(program_.string()));
  entry.close();
  return entry ? "" : fmt::format("{} could not be written", file_.string());
}

}  // namespace pell
