#pragma once

#include <functional>
#include <memory>

#include "platform/SecureItemStore.h"
#include "stores/Log.h"

namespace pell {

/// Secrets in the desktop's keyring, through the Secret Service.
///
/// A locked keyring makes the desktop ask the user. A read then replies when the keyring is open, or never;
/// an `add` or `remove` answers `interactionNotAllowed` at once, and is made up for when the keyring opens,
/// unless a later change of the same item has overtaken it. A service that is gone or does not answer within
/// 3 s gives `notAvailable`. Nothing blocks longer than that. Replies come on a thread of the store, which
/// may call the store again.
class SecretServiceStore final : public SecureItemStore {
 public:
  SecretServiceStore();
  ~SecretServiceStore() override;

  void copyMatching(const SecureItemKey& key, Reply reply) override;

  /// Replaces an item that is there.
  SecureItemStatus add(const SecureItemKey& key, const std::string& bytes) override;
  SecureItemStatus remove(const SecureItemKey& key) override;

 private:
  class Core;
  std::unique_ptr<Core> core_;
};

using SecureItemStoreFactory = std::function<std::unique_ptr<SecureItemStore>()>;

/// The keyring where the desktop has one, running or ready to be started; else what `fallback` makes, with
/// `secure_store_fallback` in the log. Asks the session's bus, for a second at most.
std::unique_ptr<SecureItemStore> makeSecureItemStore(const SecureItemStoreFactory& fallback, const Log& log);

}  // namespace pell
