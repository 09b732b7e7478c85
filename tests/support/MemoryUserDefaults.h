#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/UserDefaults.h"

namespace pell::testing {

/// Preferences in memory. Two objects over one `Storage` are a program before and after a restart.
class MemoryUserDefaults final : public UserDefaults {
 public:
  using Storage = std::map<std::string, DefaultsValue, std::less<>>;

  explicit MemoryUserDefaults(std::shared_ptr<Storage> storage = std::make_shared<Storage>())
      : storage_(std::move(storage)) {}

  int writes = 0;

  std::optional<DefaultsValue> get(std::string_view key) const override {
    auto found = storage_->find(key);
    if (found == storage_->end()) return std::nullopt;
    return found->second;
  }
  void set(std::string_view key, DefaultsValue value) override {
    ++writes;
    storage_->insert_or_assign(std::string(key), std::move(value));
  }
  void remove(std::string_view key) override {
    ++writes;
    if (auto found = storage_->find(key); found != storage_->end()) storage_->erase(found);
  }

  const std::shared_ptr<Storage>& storage() const { return storage_; }

 private:
  std::shared_ptr<Storage> storage_;
};

}  // namespace pell::testing
