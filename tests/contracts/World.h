// What the contract tests of the ports have in common.
//
// A contract is a suite over a *world*: a small fixture that makes one port and can do from outside what
// other programs, the user and the machine do to it. The double's world lives in virtual time; a real
// adapter's world lives in a private desktop and in real time. So a contract never counts on an exact
// moment: it acts, and then waits until what it expects is there.
#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "async/Time.h"

namespace pell::testing {

class World {
 public:
  virtual ~World() = default;

  /// Runs the main loop until `done` holds; false if it does not within `limit`.
  virtual bool waitUntil(std::function<bool()> done, Seconds limit) = 0;
  bool waitUntil(std::function<bool()> done) { return waitUntil(std::move(done), Seconds(10)); }

  /// Runs the main loop for long enough that what is on its way has arrived. For what must *not* happen.
  virtual void settle() = 0;

  /// The clock by which calls into the port take time.
  virtual Instant now() const = 0;
};

/// A named way to make a world; the parameter of every contract.
template <class W>
struct WorldMaker {
  std::string name;
  std::function<std::unique_ptr<W>()> make;

  friend void PrintTo(const WorldMaker& maker, std::ostream* out) { *out << maker.name; }
};

template <class W>
class Contract : public ::testing::TestWithParam<WorldMaker<W>> {
 protected:
  void SetUp() override { world_ = this->GetParam().make(); }
  void TearDown() override { world_.reset(); }
  W& world() { return *world_; }

 private:
  std::unique_ptr<W> world_;
};

/// Collects what callbacks of any thread bring.
template <class T>
class Inbox {
 public:
  void put(T value) {
    std::lock_guard lock(mutex_);
    values_.push_back(std::move(value));
  }
  std::vector<T> all() const {
    std::lock_guard lock(mutex_);
    return values_;
  }
  std::size_t size() const {
    std::lock_guard lock(mutex_);
    return values_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<T> values_;
};

}  // namespace pell::testing

/// Runs the contract `suite` against `World`, which is made without arguments.
#define PELL_INSTANTIATE_CONTRACT(label, suite, Port, World)                       \
  INSTANTIATE_TEST_SUITE_P(label, suite,                                           \
                           ::testing::Values(::pell::testing::WorldMaker<Port>{    \
                               #label, [] { return std::make_unique<World>(); }}), \
                           [](const auto& made) { return made.param.name; })
