// Copies of the application that the system runs from a temporary place.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Installation.h"

namespace pell {

/// A copy that is started straight from a disk image runs from a random path, and a permission that is
/// granted to it is gone at the next start.
class AppTranslocation {
 public:
  static constexpr std::string_view marker = "/AppTranslocation/";
  static constexpr std::string_view applicationsDirectory = "/Applications";

  /// Where the running copy stands.
  static Placement current(const Installation& installation);

  /// By the path alone. Only what lies directly in the applications' folder counts as installed.
  static Placement placement(const std::filesystem::path& url);

  struct AlreadyInstalled {
    std::filesystem::path url;
  };
  struct CopyFailed {
    std::string message;
  };
  /// Where the copy stands now, or why there is none.
  using Move = std::variant<std::filesystem::path, AlreadyInstalled, CopyFailed>;

  /// Copies the bundle into the applications' folder and never over another copy. Blocks; any thread.
  static Move copyToApplications(ApplicationMover& mover, const std::filesystem::path& source);
};

/// The placement's name in the log.
std::string_view rawValue(Placement placement);

}  // namespace pell
