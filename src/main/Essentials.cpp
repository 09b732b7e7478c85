#include "main/Essentials.h"

#include <unistd.h>

#include "platform/linux/SecretServiceStore.h"
#include "platform/portable/FileSecureItemStore.h"

namespace pell {

Essentials::Essentials()
    : stderr_(STDERR_FILENO),
      logSink_(stderr_),
      defaults_(locations_.defaultsFile(), log_),
      config_(build_, locations_.locations(), defaults_) {}

SecureItemStore& Essentials::secureItems() {
  std::call_once(secureItemsMade_, [this] {
    secureItems_ = makeSecureItemStore(
        [this] { return std::make_unique<FileSecureItemStore>(locations_.secretsFile(), log_); }, log_);
  });
  return *secureItems_;
}

}  // namespace pell
