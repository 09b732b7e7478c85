// Sounds, activity and the login item.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Services.h"

namespace pell::testing {

class MemorySounds final : public SoundPlayer {
 public:
  std::vector<std::string> played;
  void play(std::string_view name) override { played.emplace_back(name); }
};

class MemoryActivity final : public SystemActivity {
 public:
  int begun = 0;

  /// Activities held now.
  int held() const { return *held_; }

  std::unique_ptr<ActivityToken> begin(std::string_view) override {
    ++begun;
    return std::make_unique<Token>(held_);
  }

 private:
  class Token final : public ActivityToken {
   public:
    explicit Token(std::shared_ptr<int> held) : held_(std::move(held)) { ++*held_; }
    ~Token() override { --*held_; }

   private:
    std::shared_ptr<int> held_;
  };

  std::shared_ptr<int> held_ = std::make_shared<int>(0);
};

class MemoryLoginItem final : public LoginItem {
 public:
  std::string failure;  // not empty: every change fails so
  bool registered = false;
  int changes = 0;

  int status() const override { return registered ? 1 : 0; }
  std::string setRegistered(bool wanted) override {
    ++changes;
    if (failure.empty()) registered = wanted;
    return failure;
  }
};

}  // namespace pell::testing
