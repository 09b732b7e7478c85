// A value with listeners that hear of changes only.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace pell {

/// Keeps one listener attached; destroying it detaches the listener. Outliving the observed value is
/// harmless.
class [[nodiscard]] Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::shared_ptr<void> listener) : listener_(std::move(listener)) {}
  void reset() { listener_.reset(); }

 private:
  std::shared_ptr<void> listener_;
};

/// A list of listeners. One thread.
class Listeners {
 public:
  Subscription add(std::function<void()> listener) {
    auto held = std::make_shared<std::function<void()>>(std::move(listener));
    listeners_.push_back(held);
    return Subscription(held);
  }

  /// Calls each listener in the order of subscription. A listener may subscribe or detach others.
  void notify() {
    auto current = listeners_;
    for (const auto& weak : current) {
      if (auto listener = weak.lock()) (*listener)();
    }
    std::erase_if(listeners_, [](const auto& weak) { return weak.expired(); });
  }

 private:
  std::vector<std::weak_ptr<std::function<void()>>> listeners_;
};

/// A value that tells its subscribers when it changes. Assigning an equal value tells nobody.
template <class T>
class Observable {
 public:
  explicit Observable(T value = T{}) : value_(std::move(value)) {}
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  const T& get() const { return value_; }
  operator const T&() const { return value_; }

  Observable& operator=(T value) {
    if (value == value_) return *this;
    value_ = std::move(value);
    listeners_.notify();
    return *this;
  }

  /// For values that are large to copy and to compare: `change` alters the value where it stands, and tells
  /// whether it did.
  template <class Change>
  void edit(Change change) {
    if (change(value_)) listeners_.notify();
  }

  /// Subscribing changes nothing of the value: whoever may read it may listen.
  Subscription subscribe(std::function<void()> listener) const { return listeners_.add(std::move(listener)); }

 private:
  T value_;
  mutable Listeners listeners_;
};

}  // namespace pell
