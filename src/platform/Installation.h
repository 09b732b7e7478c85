// Where the running copy of the application stands, and what moving it elsewhere takes.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pell {

enum class Placement {
  translocated,  // the system runs it from a temporary place that changes at every start
  applications,  // where applications are installed
  elsewhere,
};

/// Copies and starts applications. Only platforms that translocate have one.
class ApplicationMover {
 public:
  virtual ~ApplicationMover() = default;

  /// Any thread.
  virtual bool exists(const std::filesystem::path& path) = 0;

  struct Exit {
    std::optional<std::string> launchFailure;  // the tool did not even start
    int status = 0;
    std::string standardError;  // the bytes that the tool wrote there
  };
  /// Runs a tool to its end. Blocks; any thread.
  virtual Exit run(const std::string& tool, const std::vector<std::string>& arguments) = 0;

  /// Starts a further instance of the application and gives it the focus. Answers once, on any thread:
  /// nothing on success, else what went wrong. Main thread.
  virtual void open(const std::filesystem::path& application,
                    std::function<void(std::optional<std::string> failure)> answer) = 0;

  /// Shows the item in the desktop's file manager. Main thread.
  virtual void reveal(const std::filesystem::path& item) = 0;
};

struct Installation {
  std::filesystem::path bundle;        // the running copy
  std::optional<Placement> placement;  // where the platform has a rule of its own
  ApplicationMover* mover = nullptr;   // borrowed; absent where copies stay where they are
};

}  // namespace pell
