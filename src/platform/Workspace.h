// Running applications.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace pell {

struct RunningApplication {
  std::optional<std::string> bundleIdentifier;
  std::string localizedName;  // empty where the application tells none
  std::optional<std::filesystem::path> bundleUrl;
  int processIdentifier = 0;
  /// Set for an application whose text fields report a successful insertion through accessibility and
  /// change nothing. The adapter knows which those are; text reaches them by pasting alone.
  bool rejectsAccessibilityText = false;
  bool operator==(const RunningApplication&) const = default;
};

/// Main thread. Reads are of cached values that a watcher keeps; they make no round trip.
class Workspace {
 public:
  virtual ~Workspace() = default;

  virtual std::optional<RunningApplication> frontmostApplication() const = 0;

  /// Whether this process is the active application.
  virtual bool isSelfActive() const = 0;

  /// Opens an address or a file with whatever the desktop uses for it. False if nothing could be asked.
  virtual bool open(const std::string& address) = 0;
};

}  // namespace pell
