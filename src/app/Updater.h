// Where a build with an updater of its own would start it.
#pragma once

namespace pell {

class Log;

/// Updates come as packages; the program looks for none itself and says so.
class Updater {
 public:
  /// Once, at launch.
  static void start(const Log& log);
};

}  // namespace pell
