// The desktop's catalogue of installed applications.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pell {

struct DesktopEntry {
  std::string id;           // the file's name without its ending, folders joined by "-"
  std::string name;         // in the user's language
  std::string windowClass;  // "StartupWMClass"; empty where the entry has none
  std::string program;      // the base name of the command; empty where the command is a launcher of others
  bool isTerminal = false;  // a terminal emulator
  bool operator==(const DesktopEntry&) const = default;
};

/// What an application window tells about its program.
struct WindowIdentity {
  std::string applicationId;  // set by GTK
  std::string className;
  std::string instanceName;
  std::string program;  // the base name of the executable
};

/// Reads the entries at the first look-up, and again when one of the folders has changed. One thread.
class DesktopEntries {
 public:
  /// Folders in order of preference; an entry hides those of the same id behind it.
  explicit DesktopEntries(std::vector<std::filesystem::path> folders);

  /// "applications" in the user's data folder and in each of the system's.
  static std::vector<std::filesystem::path> standardFolders();

  /// The entry of a window, by the application's own id, the declared window class, the entry's id and the
  /// command, in this order; upper and lower case are the same.
  std::optional<DesktopEntry> find(const WindowIdentity& window);

 private:
  void refresh();
  void readFolder(const std::filesystem::path& folder);
  const DesktopEntry* lookUp(const std::map<std::string, std::size_t>& index, std::string_view key) const;

  std::vector<std::filesystem::path> folders_;
  std::map<std::filesystem::path, std::filesystem::file_time_type> seen_;
  std::vector<DesktopEntry> entries_;
  std::map<std::string, std::size_t> byId_, byWindowClass_, byProgram_;
};

/// The base name of the program that a command line of a desktop entry runs; empty where that is only a
/// launcher, which many entries share.
std::string programOfCommand(std::string_view commandLine);

}  // namespace pell
