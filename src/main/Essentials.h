// The services that need no desktop: enough to talk to the server and to read the history.
#pragma once

#include <memory>
#include <mutex>

#include "platform/SecureItemStore.h"
#include "platform/linux/JournalLogSink.h"
#include "platform/portable/BuildStamp.h"
#include "platform/portable/CurlHttpSession.h"
#include "platform/portable/JsonUserDefaults.h"
#include "platform/portable/StandardLocations.h"
#include "platform/portable/StreamLogSink.h"
#include "platform/portable/SystemWallClock.h"
#include "stores/AppConfig.h"
#include "stores/Log.h"

namespace pell {

/// Any thread, as its parts are.
class Essentials {
 public:
  Essentials();

  Log& log() { return log_; }
  LogSink& logSink() { return logSink_; }
  UserDefaults& defaults() { return defaults_; }
  WallClock& clock() { return clock_; }
  HttpSession& http() { return http_; }
  /// Made when it is first asked for: the commands that read only the history trouble no keyring.
  SecureItemStore& secureItems();
  const StandardLocations& locations() const { return locations_; }
  const BuildInfo& build() const { return build_; }
  const AppConfig& config() const { return config_; }

 private:
  StreamLogSink stderr_;
  JournalLogSink logSink_;
  Log log_{logSink_};
  StandardLocations locations_;
  BuildInfo build_ = stampedBuildInfo();
  JsonUserDefaults defaults_;
  SystemWallClock clock_;
  AppConfig config_;
  CurlHttpSession http_;
  std::once_flag secureItemsMade_;
  std::unique_ptr<SecureItemStore> secureItems_;
};

}  // namespace pell
