#pragma once

#include <memory>
#include <mutex>

#include "platform/SecureItemStore.h"
#include "platform/portable/JsonFile.h"
#include "platform/portable/ThreadExecutor.h"

namespace pell {

/// Secrets in a file that only this user can read, for machines with no better store. It keeps other users
/// out, and not the user's own programs. Reads are answered on a thread of the store.
class FileSecureItemStore final : public SecureItemStore {
 public:
  FileSecureItemStore(std::filesystem::path file, const Log& log);
  ~FileSecureItemStore() override;

  void copyMatching(const SecureItemKey& key, Reply reply) override;

  /// Replaces an item that is there. `notAvailable` when the file cannot be written.
  SecureItemStatus add(const SecureItemKey& key, const std::string& bytes) override;
  SecureItemStatus remove(const SecureItemKey& key) override;

 private:
  std::mutex mutex_;
  JsonFile file_;
  ThreadExecutor replies_;
};

}  // namespace pell
