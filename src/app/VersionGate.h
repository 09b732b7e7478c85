// What the operators' document allows.
#pragma once

#include <optional>
#include <string>

#include "async/Observable.h"
#include "server/RemoteConfig.h"

namespace pell {

class Log;

/// Tells whether the running version is one that the service no longer supports, and which features are
/// switched off. Nothing in the application stops for it. Main thread only.
class VersionGate {
 public:
  VersionGate(std::string running, const Log& log) : running_(std::move(running)), log_(log) {}

  /// Takes a document. One that finds the version blocked asks again after a dismissal.
  void notice(std::optional<RemoteConfig::Payload> payload);

  /// The document as it was last taken.
  const Observable<std::optional<RemoteConfig::Payload>>& remoteConfig() const { return remoteConfig_; }

  /// Whether the user is asked to get a newer version.
  const Observable<bool>& updateRequired() const { return updateRequired_; }
  void dismissUpdateRequired() { updateRequired_ = false; }

  bool isFeatureEnabled(const std::string& name) const;

 private:
  std::string running_;
  const Log& log_;
  Observable<std::optional<RemoteConfig::Payload>> remoteConfig_;
  Observable<bool> updateRequired_;
};

}  // namespace pell
