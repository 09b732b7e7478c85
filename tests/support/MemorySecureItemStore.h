#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/SecureItemStore.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// Secrets that can be slow, stuck behind a prompt, or refused.
class MemorySecureItemStore final : public SecureItemStore {
 public:
  explicit MemorySecureItemStore(VirtualTime& time) : lane_(time.serialExecutors()("secure")) {}

  // Scripted.
  Seconds delay{0};                            // before each reply
  bool blocked = false;                        // replies wait for `unblock`
  std::optional<SecureItemStatus> readStatus;  // instead of reading
  std::optional<SecureItemStatus> addStatus;   // instead of adding

  // Recorded.
  int reads = 0;

  std::optional<std::string> item(const std::string& service, const std::string& account) const {
    auto found = items_.find({service, account});
    if (found == items_.end()) return std::nullopt;
    return found->second;
  }
  void put(const std::string& service, const std::string& account, std::string bytes) {
    items_.insert_or_assign({service, account}, std::move(bytes));
  }

  /// The prompt that held the replies up is answered.
  void unblock() {
    blocked = false;
    for (auto& late : std::exchange(waiting_, {})) lane_->post(std::move(late));
  }

  void copyMatching(const SecureItemKey& key, Reply reply) override {
    ++reads;
    auto answer = [this, key, reply = std::move(reply)] {
      auto found = items_.find({key.service, key.account});
      if (readStatus) {
        reply(*readStatus, {});
      } else if (found == items_.end()) {
        reply(SecureItemStatus::itemNotFound, {});
      } else {
        reply(SecureItemStatus::success, found->second);
      }
    };
    if (blocked) {
      waiting_.push_back(std::move(answer));
    } else {
      replies_.push_back(lane_->postAfter(delay, std::move(answer)));
    }
  }

  SecureItemStatus add(const SecureItemKey& key, const std::string& bytes) override {
    if (addStatus) return *addStatus;
    put(key.service, key.account, bytes);
    return SecureItemStatus::success;
  }

  SecureItemStatus remove(const SecureItemKey& key) override {
    return items_.erase({key.service, key.account}) > 0 ? SecureItemStatus::success
                                                        : SecureItemStatus::itemNotFound;
  }

 private:
  std::unique_ptr<Executor> lane_;
  std::map<std::pair<std::string, std::string>, std::string> items_;
  std::vector<std::function<void()>> waiting_;
  std::vector<DelayedWork> replies_;
};

}  // namespace pell::testing
