// The few calls of libsecret that the store makes, as functions with one completion each.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/SecureItemStore.h"
#include "platform/linux/GLibPtr.h"

namespace pell::secretservice {

/// A reference to an item or a collection.
using Object = std::shared_ptr<GObject>;

/// Completions run on the thread whose default main context made the call, once, or never if the service
/// waits for the user without end. None of these calls asks the user, but for `unlock`, and `store` when
/// there is no default collection yet.

struct Search {
  SecureItemStatus status = SecureItemStatus::success;
  std::vector<Object> open;
  std::vector<Object> locked;
};
void search(const SecureItemKey& key, std::function<void(Search)> completion);

void load(const Object& item, std::function<void(SecureItemStatus, std::string bytes)> completion);
void erase(const Object& item, std::function<void(SecureItemStatus)> completion);

/// The collection in which new items go; empty object if there is none yet.
struct DefaultCollection {
  SecureItemStatus status = SecureItemStatus::success;
  Object object;
  bool locked = false;
};
void defaultCollection(std::function<void(DefaultCollection)> completion);

void store(const SecureItemKey& key, const std::string& bytes,
           std::function<void(SecureItemStatus)> completion);

/// Asks the user; true if at least one of `objects` is open now.
void unlock(const std::vector<Object>& objects, std::function<void(bool)> completion);

/// Forgets the connection that the calls above share. It notices the end of the service only on the thread
/// that made the first call, so it must not outlive that thread.
void disconnect();

}  // namespace pell::secretservice
