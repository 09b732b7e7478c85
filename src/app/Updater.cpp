#include "app/Updater.h"

#include "stores/Log.h"

namespace pell {

void Updater::start(const Log& log) {
  log.info("updater_absent", {{"reason", "built without SPARKLE_PUBLIC_KEY"}});
}

}  // namespace pell
