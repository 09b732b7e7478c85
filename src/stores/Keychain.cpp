#include "stores/Keychain.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <utility>

#include "async/OneShot.h"
#include "stores/Text.h"

namespace pell {

/// Outlives the keychain for as long as a read is under way.
struct Keychain::Core {
  SecureItemStore& store;
  std::string service;
  Log log;
  std::mutex generationLock;
  std::int64_t generation = 0;  // writes and deletes by this process

  SecureItemKey key(const std::string& account) const { return {.service = service, .account = account}; }

  std::int64_t currentGeneration() {
    std::lock_guard lock(generationLock);
    return generation;
  }

  void countChange() {
    std::lock_guard lock(generationLock);
    ++generation;
  }

  /// Deletes an item that was refused, so that the next read finds it absent. The lock is held until it
  /// is gone: a write that begins meanwhile adds its item afterwards.
  void heal(const std::string& account, std::int64_t snapshot) {
    std::lock_guard lock(generationLock);
    if (generation != snapshot) {
      log.warn("keychain_refusal_ignored", {{"account", account}, {"reason", "rewritten"}});
      return;
    }
    log.warn("keychain_read_refused", {{"account", account}});
    store.remove(key(account));
  }
};

namespace {

Keychain::Read interpret(SecureItemStatus status, std::string bytes) {
  using Outcome = Keychain::ReadOutcome;
  const Outcome outcome = Keychain::outcome(status);
  if (outcome != Outcome::ok) return {.value = std::nullopt, .outcome = outcome};
  if (!isUtf8(bytes)) return {.value = std::nullopt, .outcome = Outcome::absent};
  return {.value = std::move(bytes), .outcome = Outcome::ok};
}

}  // namespace

Keychain::Keychain(SecureItemStore& store, Executor& timers, std::string service, const Log& log)
    : core_(new Core{
          .store = store, .service = std::move(service), .log = log, .generationLock = {}, .generation = 0}),
      timers_(timers) {}

Keychain::~Keychain() = default;

Task<Keychain::Read> Keychain::get(std::string account, Seconds timeout) {
  const auto core = core_;
  const std::int64_t snapshot = core->currentGeneration();
  OneShot<Read> finished;
  auto reply = [core, account, snapshot, finished](SecureItemStatus status, std::string bytes) {
    Read read = interpret(status, std::move(bytes));
    if (read.outcome == ReadOutcome::refused) core->heal(account, snapshot);
    finished.set(std::move(read));
  };
  core->store.copyMatching(core->key(account), std::move(reply));
  const DelayedWork limit = timers_.postAfter(
      timeout, [finished] { finished.set({.value = std::nullopt, .outcome = ReadOutcome::timedOut}); });
  Read read = co_await finished;
  if (read.outcome == ReadOutcome::timedOut) {
    core->log.warn("keychain_read_timed_out", {{"account", account}, {"seconds", timeout.count()}});
  }
  co_return read;
}

bool Keychain::set(const std::string& value, const std::string& account) {
  if (!isUtf8(value)) return false;
  core_->store.remove(core_->key(account));
  core_->countChange();
  return core_->store.add(core_->key(account), value) == SecureItemStatus::success;
}

void Keychain::remove(const std::string& account) {
  core_->countChange();
  core_->store.remove(core_->key(account));
}

Keychain::ReadOutcome Keychain::outcome(SecureItemStatus status) {
  switch (status) {
    case SecureItemStatus::success:
      return ReadOutcome::ok;
    case SecureItemStatus::interactionNotAllowed:
    case SecureItemStatus::authFailed:
    case SecureItemStatus::userCanceled:
      return ReadOutcome::refused;
    case SecureItemStatus::notAvailable:
    case SecureItemStatus::itemNotFound:
      break;
  }
  return ReadOutcome::absent;  // whatever else the platform says
}

std::string_view rawValue(Keychain::ReadOutcome outcome) {
  constexpr std::array<std::string_view, 4> names{"ok", "absent", "timedOut", "refused"};
  return names[static_cast<std::size_t>(outcome)];
}

}  // namespace pell
