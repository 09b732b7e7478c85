#include "platform/linux/DesktopEntries.h"

#include <algorithm>
#include <array>
#include <gio/gio.h>
#include <memory>
#include <utility>

#include "platform/linux/GLibPtr.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;

struct KeyFileDelete {
  void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileDelete>;

std::string folded(std::string_view text) {
  GLibPtr<char> lower(g_utf8_casefold(text.data(), static_cast<gssize>(text.size())));
  return lower.get();
}

std::string value(GKeyFile* file, const char* key) {
  GLibPtr<char> text(g_key_file_get_string(file, group, key, nullptr));
  return text ? text.get() : "";
}

std::string localizedName(GKeyFile* file) {
  GLibPtr<char> text(
      g_key_file_get_locale_string(file, group, G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
  return text ? text.get() : "";
}

bool hasCategory(GKeyFile* file, std::string_view wanted) {
  std::string categories = ";" + value(file, G_KEY_FILE_DESKTOP_KEY_CATEGORIES) + ";";
  return categories.find(";" + std::string(wanted) + ";") != std::string::npos;
}

std::optional<DesktopEntry> readEntry(const fs::path& path, std::string id) {
  KeyFile file(g_key_file_new());
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return std::nullopt;
  if (value(file.get(), G_KEY_FILE_DESKTOP_KEY_TYPE) != G_KEY_FILE_DESKTOP_TYPE_APPLICATION)
    return std::nullopt;
  // "Hidden" means deleted: such an entry only hides those of its id behind it.
  bool deleted = g_key_file_get_boolean(file.get(), group, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr);
  if (deleted) return DesktopEntry{.id = std::move(id)};
  return DesktopEntry{.id = std::move(id),
                      .name = localizedName(file.get()),
                      .windowClass = value(file.get(), "StartupWMClass"),
                      .program = programOfCommand(value(file.get(), G_KEY_FILE_DESKTOP_KEY_EXEC)),
                      .isTerminal = hasCategory(file.get(), "TerminalEmulator")};
}

// Programs that run another one, of any version ("python3.11"): they say nothing about whose window it is.
bool isLauncher(std::string_view program) {
  constexpr std::array<std::string_view, 15> launchers{
      "flatpak", "snap", "sh",   "bash", "python", "java", "gapplication", "pkexec",
      "wine",    "mono", "perl", "ruby", "node",   "gjs",  "gjs-console"};
  auto end = program.find_last_not_of("0123456789.");
  program = program.substr(0, end == std::string_view::npos ? 0 : end + 1);
  return std::find(launchers.begin(), launchers.end(), program) != launchers.end();
}

fs::file_time_type changeTime(const fs::path& folder) {
  std::error_code failed;
  auto time = fs::last_write_time(folder, failed);
  return failed ? fs::file_time_type::min() : time;
}

}  // namespace

DesktopEntries::DesktopEntries(std::vector<fs::path> folders) : folders_(std::move(folders)) {}

std::vector<fs::path> DesktopEntries::standardFolders() {
  std::vector<fs::path> folders{fs::path(g_get_user_data_dir()) / "applications"};
  for (const char* const* at = g_get_system_data_dirs(); *at; ++at) {
    folders.push_back(fs::path(*at) / "applications");
  }
  return folders;
}

std::optional<DesktopEntry> DesktopEntries::find(const WindowIdentity& window) {
  refresh();
  std::string_view program = isLauncher(window.program) ? std::string_view() : window.program;
  using Attempt = std::pair<const std::map<std::string, std::size_t>*, std::string_view>;
  const std::array<Attempt, 9> attempts{{{&byId_, window.applicationId},
                                         {&byWindowClass_, window.className},
                                         {&byWindowClass_, window.instanceName},
                                         {&byId_, window.className},
                                         {&byId_, window.instanceName},
                                         {&byProgram_, window.instanceName},
                                         {&byProgram_, window.className},
                                         {&byProgram_, program},
                                         {&byId_, program}}};
  for (const auto& [index, key] : attempts) {
    if (const auto* entry = lookUp(*index, key)) return *entry;
  }
  return std::nullopt;
}

const DesktopEntry* DesktopEntries::lookUp(const std::map<std::string, std::size_t>& index,
                                           std::string_view key) const {
  if (key.empty()) return nullptr;
  auto found = index.find(folded(key));
  return found == index.end() ? nullptr : &entries_[found->second];
}

void DesktopEntries::refresh() {
  std::map<fs::path, fs::file_time_type> current;
  for (const auto& folder : folders_) current[folder] = changeTime(folder);
  bool same = !seen_.empty() && std::all_of(seen_.begin(), seen_.end(), [](const auto& seen) {
    return changeTime(seen.first) == seen.second;
  });
  if (same) return;
  seen_ = std::move(current);
  entries_.clear();
  byId_.clear();
  byWindowClass_.clear();
  byProgram_.clear();
  for (const auto& folder : folders_) readFolder(folder);
}

void DesktopEntries::readFolder(const fs::path& folder) {
  std::error_code failed;
  fs::recursive_directory_iterator at(folder, fs::directory_options::skip_permission_denied, failed);
  for (; !failed && at != fs::recursive_directory_iterator(); at.increment(failed)) {
    if (at->is_directory(failed)) {
      seen_[at->path()] = changeTime(at->path());
      continue;
    }
    if (at->path().extension() != ".desktop") continue;
    std::string id = at->path().lexically_relative(folder).replace_extension().string();
    std::replace(id.begin(), id.end(), '/', '-');
    if (byId_.contains(folded(id))) continue;
    auto entry = readEntry(at->path(), id);
    if (!entry) continue;
    std::size_t index = entries_.size();
    byId_.emplace(folded(id), index);
    if (!entry->windowClass.empty()) byWindowClass_.emplace(folded(entry->windowClass), index);
    if (!entry->program.empty()) byProgram_.emplace(folded(entry->program), index);
    entries_.push_back(std::move(*entry));
  }
}

std::string programOfCommand(std::string_view commandLine) {
  int count = 0;
  char** words = nullptr;
  if (!g_shell_parse_argv(std::string(commandLine).c_str(), &count, &words, nullptr)) return {};
  std::string program;
  for (int i = 0; i < count && program.empty(); ++i) {
    std::string_view word = words[i];
    // "env NAME=VALUE program"
    if (word == "env" || word.ends_with("/env") || word.find('=') != std::string_view::npos) continue;
    program = fs::path(word).filename().string();
  }
  g_strfreev(words);
  return isLauncher(program) ? "" : program;
}

}  // namespace pell
