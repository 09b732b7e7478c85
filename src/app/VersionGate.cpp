#include "app/VersionGate.h"

#include <utility>

#include "stores/Log.h"

namespace pell {

void VersionGate::notice(std::optional<RemoteConfig::Payload> payload) {
  remoteConfig_ = payload;
  if (!payload) return;
  const std::string& floor = payload->minimumSupportedVersion;
  const bool blocked = RemoteConfig::isBlocked(running_, floor);
  if (blocked == updateRequired_.get()) return;
  log_.info("app_config_gate", {{"blocked", blocked}, {"running", running_}, {"minimum", floor}});
  updateRequired_ = blocked;
}

bool VersionGate::isFeatureEnabled(const std::string& name) const {
  return RemoteConfig::isEnabled(name, remoteConfig_.get());
}

}  // namespace pell
