// One preference of the user.
#pragma once

#include <functional>
#include <utility>

#include "async/Observable.h"

namespace pell {

/// A value that is written through whenever it is assigned and that tells its subscribers when it
/// changes. Assigning an equal value stores it again and tells nobody. One thread.
template <class T>
class Preference {
 public:
  using Store = std::function<void(const T&)>;

  struct Loaded {
    T value;
    Store store;
  };

  explicit Preference(Loaded loaded) : value_(std::move(loaded.value)), store_(std::move(loaded.store)) {}
  Preference(const Preference&) = delete;

  const T& get() const { return value_.get(); }
  operator const T&() const { return value_.get(); }

  Preference& operator=(T value) {
    store_(value);
    value_ = std::move(value);
    return *this;
  }
  Preference& operator=(const Preference&) = delete;

  Subscription subscribe(std::function<void()> listener) { return value_.subscribe(std::move(listener)); }

 private:
  Observable<T> value_;
  Store store_;
};

}  // namespace pell
