#include "platform/linux/SecretServiceStore.h"

#include <algorithm>
#include <deque>
#include <future>
#include <map>
#include <mutex>
#include <utility>

#include "platform/linux/GLibThread.h"
#include "platform/linux/SecretServiceCalls.h"

namespace pell {
namespace {

constexpr auto callLimit = std::chrono::seconds(3);

// A user who has dismissed the prompt is not asked again for each thing that wants the item.
constexpr auto pauseAfterDismissal = std::chrono::seconds(60);

constexpr std::size_t mostWaiting = 32;

using Answer = std::function<void(SecureItemStatus)>;

}  // namespace

/// Everything but the waiting for answers happens on `calls_`. When that thread has stopped no completion can
/// run any more, so completions may point here.
class SecretServiceStore::Core {
 public:
  ~Core() {
    calls_.stop();
    secretservice::disconnect();
    replies_.stop();
  }

  void read(const SecureItemKey& key, Reply reply) {
    calls_.post([this, key, reply = std::move(reply)] { readNow(key, reply, true); });
  }

  SecureItemStatus add(const SecureItemKey& key, const std::string& bytes) {
    const auto change = countChange(key);
    return bounded([this, key, bytes, change](const Answer& answer) { addNow(key, bytes, change, answer); });
  }

  SecureItemStatus remove(const SecureItemKey& key) {
    const auto change = countChange(key);
    return bounded([this, key, change](const Answer& answer) { removeNow(key, change, answer); });
  }

 private:
  using Key = std::pair<std::string, std::string>;

  /// Runs `start` on the calls' thread and waits for its one answer, up to the limit.
  SecureItemStatus bounded(std::function<void(const Answer&)> start) {
    auto answered = std::make_shared<std::promise<SecureItemStatus>>();
    auto answer = answered->get_future();
    calls_.post([start = std::move(start), answered] {
      start([answered](SecureItemStatus status) { answered->set_value(status); });
    });
    if (answer.wait_for(callLimit) != std::future_status::ready) return SecureItemStatus::notAvailable;
    return answer.get();
  }

  void readNow(const SecureItemKey& key, const Reply& reply, bool mayAsk) {
    secretservice::search(key, [this, key, reply, mayAsk](const secretservice::Search& found) {
      if (!found.open.empty()) {
        secretservice::load(found.open.front(),
                            [this, reply](SecureItemStatus status, const std::string& bytes) {
                              deliver(reply, status, bytes);
                            });
      } else if (found.locked.empty()) {
        const bool answered = found.status == SecureItemStatus::success;
        deliver(reply, answered ? SecureItemStatus::itemNotFound : SecureItemStatus::notAvailable, {});
      } else if (mayAsk) {
        whenOpen(found.locked, [this, key, reply] { readNow(key, reply, false); });
      }
    });
  }

  void deliver(const Reply& reply, SecureItemStatus status, const std::string& bytes) {
    replies_.post([reply, status, bytes] { reply(status, bytes); });
  }

  void addNow(const SecureItemKey& key, const std::string& bytes, int change, const Answer& answer) {
    secretservice::defaultCollection(
        [this, key, bytes, change, answer](const secretservice::DefaultCollection& collection) {
          if (collection.status != SecureItemStatus::success) return answer(SecureItemStatus::notAvailable);
          if (!collection.locked) return secretservice::store(key, bytes, answer);
          whenOpen({collection.object}, [this, key, bytes, change] {
            if (isLatest(key, change)) secretservice::store(key, bytes, [](SecureItemStatus) {});
          });
          answer(SecureItemStatus::interactionNotAllowed);
        });
  }

  void removeNow(const SecureItemKey& key, int change, const Answer& answer) {
    secretservice::search(key, [this, key, change, answer](const secretservice::Search& found) {
      if (found.status != SecureItemStatus::success) return answer(SecureItemStatus::notAvailable);
      if (!found.locked.empty()) {
        whenOpen(found.locked, [this, key, change, locked = found.locked] {
          if (isLatest(key, change)) eraseAll(locked, [](SecureItemStatus) {});
        });
      }
      if (!found.open.empty()) return eraseAll(found.open, answer);
      answer(found.locked.empty() ? SecureItemStatus::itemNotFound : SecureItemStatus::interactionNotAllowed);
    });
  }

  static void eraseAll(std::vector<secretservice::Object> items, const Answer& answer) {
    auto last = std::move(items.back());
    items.pop_back();
    secretservice::erase(last, [items = std::move(items), answer](SecureItemStatus status) {
      if (items.empty() || status != SecureItemStatus::success) return answer(status);
      eraseAll(items, answer);
    });
  }

  /// Runs `work` once the user has opened the keyring. One prompt serves everything that waits; what waits
  /// for one that is dismissed is dropped.
  void whenOpen(const std::vector<secretservice::Object>& locked, std::function<void()> work) {
    waiting_.push_back(std::move(work));
    if (waiting_.size() > mostWaiting) waiting_.pop_front();
    if (asking_ || std::chrono::steady_clock::now() < quietUntil_) return;
    asking_ = true;
    secretservice::unlock(locked, [this](bool opened) {
      asking_ = false;
      auto waiting = std::exchange(waiting_, {});
      if (!opened) quietUntil_ = std::chrono::steady_clock::now() + pauseAfterDismissal;
      for (auto& next : waiting) {
        if (opened) next();
      }
    });
  }

  int countChange(const SecureItemKey& key) {
    std::lock_guard lock(mutex_);
    return ++changes_[{key.service, key.account}];
  }
  bool isLatest(const SecureItemKey& key, int change) {
    std::lock_guard lock(mutex_);
    return changes_[{key.service, key.account}] == change;
  }

  std::mutex mutex_;
  std::map<Key, int> changes_;  // adds and removals of each item, so that a late one knows that it is stale

  bool asking_ = false;
  Instant quietUntil_{};
  std::deque<std::function<void()>> waiting_;

  GLibThread replies_{"secrets-reply"};
  GLibThread calls_{"secrets"};
};

SecretServiceStore::SecretServiceStore() : core_(std::make_unique<Core>()) {}
SecretServiceStore::~SecretServiceStore() = default;

void SecretServiceStore::copyMatching(const SecureItemKey& key, Reply reply) {
  core_->read(key, std::move(reply));
}

SecureItemStatus SecretServiceStore::add(const SecureItemKey& key, const std::string& bytes) {
  return core_->add(key, bytes);
}

SecureItemStatus SecretServiceStore::remove(const SecureItemKey& key) { return core_->remove(key); }

namespace {

constexpr const char* serviceName = "org.freedesktop.secrets";
constexpr int busLimit = 500;  // milliseconds for each of two questions

GLibPtr<GVariant> askBus(GDBusConnection* bus, const char* method, GVariant* arguments, const char* type) {
  return GLibPtr<GVariant>(g_dbus_connection_call_sync(
      bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments,
      G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NONE, busLimit, nullptr, nullptr));
}

bool hasSecretService() {
  GLibPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return false;
  // The end of the bus is an error of the next call, and no reason to end the program.
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  gboolean owned = FALSE;
  if (auto reply = askBus(bus.get(), "NameHasOwner", g_variant_new("(s)", serviceName), "(b)")) {
    g_variant_get(reply.get(), "(b)", &owned);
  }
  if (owned) return true;
  auto reply = askBus(bus.get(), "ListActivatableNames", nullptr, "(as)");
  if (!reply) return false;
  GLibPtr<GVariant> names(g_variant_get_child_value(reply.get(), 0));
  std::unique_ptr<const char*, decltype(&g_free)> list(g_variant_get_strv(names.get(), nullptr), g_free);
  return g_strv_contains(list.get(), serviceName);
}

}  // namespace

std::unique_ptr<SecureItemStore> makeSecureItemStore(const SecureItemStoreFactory& fallback, const Log& log) {
  if (hasSecretService()) return std::make_unique<SecretServiceStore>();
  log.warn("secure_store_fallback", {{"reason", "no Secret Service on the session bus"}});
  return fallback();
}

}  // namespace pell
