#include "app/Updater.h"

#include "platform/Workspace.h"
#include "stores/AppConfig.h"
#include "stores/Log.h"

namespace pell {

void Updater::start(const Log& log) {
  log.info("updater_absent", {{"reason", "built without SPARKLE_PUBLIC_KEY"}});
}

void Updater::openDownload(const AppConfig& config, Workspace& workspace) {
  if (auto address = config.downloadURL()) workspace.open(*address);
}

}  // namespace pell
