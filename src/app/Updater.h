// How the user comes to a newer version.
#pragma once

namespace pell {

class AppConfig;
class Log;
class Workspace;

/// Updates come as packages; the program looks for none itself and says so.
class Updater {
 public:
  /// Once, at launch.
  static void start(const Log& log);

  /// Opens the page with the newest version in the user's browser; nothing where the build names none.
  static void openDownload(const AppConfig& config, Workspace& workspace);
};

}  // namespace pell
