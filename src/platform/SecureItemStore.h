// The platform's store of secrets.
#pragma once

#include <functional>
#include <string>

namespace pell {

/// Status codes, with the platform's numbers.
enum class SecureItemStatus : int {
  success = 0,
  userCanceled = -128,
  notAvailable = -25291,  // the store itself is not there, or cannot be written
  authFailed = -25293,
  itemNotFound = -25300,
  interactionNotAllowed = -25308,
};

struct SecureItemKey {
  std::string service;
  std::string account;
  bool operator==(const SecureItemKey&) const = default;
};

class SecureItemStore {
 public:
  using Reply = std::function<void(SecureItemStatus status, std::string bytes)>;

  virtual ~SecureItemStore() = default;

  /// Reads an item. The reply comes once, on any thread, and may come very late or never: the store may
  /// be waiting for the user. Never blocks the caller.
  virtual void copyMatching(const SecureItemKey& key, Reply reply) = 0;

  /// Adds an item that is not there yet. Any thread; bounded.
  virtual SecureItemStatus add(const SecureItemKey& key, const std::string& bytes) = 0;

  /// Removes an item. Any thread; bounded.
  virtual SecureItemStatus remove(const SecureItemKey& key) = 0;
};

}  // namespace pell
