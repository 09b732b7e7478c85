// The one secret that outlives a run.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "async/Executor.h"
#include "async/Task.h"
#include "platform/SecureItemStore.h"
#include "stores/Log.h"

namespace pell {

/// A thin layer over the platform's store of secrets. A read there may wait for the user without end, so
/// every read here has a limit and tells how it went. An item that the platform refuses to give is
/// deleted, unless it was rewritten while the read was in flight. Any thread.
class Keychain {
 public:
  static constexpr std::string_view refreshTokenAccount = "refresh-token";
  static constexpr Seconds readTimeout{2.0};

  enum class ReadOutcome {
    ok,        // read, and valid UTF-8
    absent,    // there is no usable item
    timedOut,  // not finished within the limit; the item is kept
    refused,   // the platform refused access
  };

  struct Read {
    std::optional<std::string> value;
    ReadOutcome outcome = ReadOutcome::absent;
    bool operator==(const Read&) const = default;
  };

  /// `timers` counts the limits of reads.
  Keychain(SecureItemStore& store, Executor& timers, std::string service, const Log& log);
  ~Keychain();
  Keychain(const Keychain&) = delete;
  Keychain& operator=(const Keychain&) = delete;

  /// Never fails: a failure is an outcome. Resumes on the awaiting coroutine's executor within `timeout`;
  /// a later reply is dropped but still heals the store, even after this object is gone.
  Task<Read> get(std::string account, Seconds timeout);

  /// Replaces the item. False if it could not be stored, or if the value is not UTF-8.
  bool set(const std::string& value, const std::string& account);

  void remove(const std::string& account);

  static ReadOutcome outcome(SecureItemStatus status);

 private:
  struct Core;
  std::shared_ptr<Core> core_;
  Executor& timers_;
};

std::string_view rawValue(Keychain::ReadOutcome outcome);

}  // namespace pell
