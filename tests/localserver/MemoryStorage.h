// The storage without a file, for tests of what stands on it.
#pragma once

#include <algorithm>
#include <map>
#include <mutex>

#include "localserver/Storage.h"

namespace pell::localserver {

class MemoryStorage : public Storage {
 public:
  void atomically(const std::function<void()>& work) override {
    const std::lock_guard lock(mutex_);
    const Tables before = tables_;
    try {
      work();
    } catch (...) {
      tables_ = before;
      throw;
    }
  }

  bool addUser(const UserRecord& user) override {
    const std::lock_guard lock(mutex_);
    if (userByEmail(user.email)) return false;
    tables_.users[user.id] = user;
    return true;
  }
  std::optional<UserRecord> userById(const std::string& id) override { return find(tables_.users, id); }
  std::optional<UserRecord> userByEmail(const std::string& email) override {
    const std::lock_guard lock(mutex_);
    for (const auto& [id, user] : tables_.users) {
      if (user.email == email) return user;
    }
    return std::nullopt;
  }

  void addSession(const SessionRecord& session) override {
    const std::lock_guard lock(mutex_);
    if (!tables_.users.contains(session.userId)) throw StorageFailure("There is no such user.");
    tables_.sessions[session.id] = session;
  }
  std::optional<SessionRecord> session(const std::string& id) override { return find(tables_.sessions, id); }
  void removeSession(const std::string& id) override {
    const std::lock_guard lock(mutex_);
    tables_.sessions.erase(id);
    std::erase_if(tables_.access, [&](const auto& entry) { return entry.second.sessionId == id; });
    std::erase_if(tables_.refresh, [&](const auto& entry) { return entry.second.sessionId == id; });
  }

  void addAccessToken(const AccessTokenRecord& token) override {
    const std::lock_guard lock(mutex_);
    tables_.access[token.hash] = token;
  }
  std::optional<AccessTokenRecord> accessToken(const std::string& hash) override {
    return find(tables_.access, hash);
  }

  void addRefreshToken(const RefreshTokenRecord& token) override {
    const std::lock_guard lock(mutex_);
    tables_.refresh[token.hash] = token;
  }
  std::optional<RefreshTokenRecord> refreshToken(const std::string& hash) override {
    return find(tables_.refresh, hash);
  }
  void useRefreshToken(const RefreshTokenRecord& used) override {
    const std::lock_guard lock(mutex_);
    for (auto& [hash, token] : tables_.refresh) {
      if (hash == used.hash) {
        token.used = true;
      } else if (token.sessionId == used.sessionId && token.generation <= used.generation) {
        token.replaced = true;
      }
    }
  }

  void removeExpired(UnixSeconds now) override {
    const std::lock_guard lock(mutex_);
    const auto expired = [now](const auto& entry) { return entry.second.expiresAt <= now; };
    std::erase_if(tables_.access, expired);
    std::erase_if(tables_.refresh, expired);
    std::erase_if(tables_.sessions, [this](const auto& session) {
      return std::none_of(tables_.refresh.begin(), tables_.refresh.end(),
                          [&](const auto& token) { return token.second.sessionId == session.first; });
    });
  }

  UsageRecord usage(const std::string& userId, const std::string& month) override {
    const std::lock_guard lock(mutex_);
    const auto found = tables_.usage.find({userId, month});
    return found == tables_.usage.end() ? UsageRecord{} : found->second;
  }
  void addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) override {
    const std::lock_guard lock(mutex_);
    UsageRecord& sum = tables_.usage[{userId, month}];
    sum.dictations = std::max(sum.dictations + more.dictations, std::int64_t{0});
    sum.words = std::max(sum.words + more.words, std::int64_t{0});
    sum.characters = std::max(sum.characters + more.characters, std::int64_t{0});
    sum.seconds = std::max(sum.seconds + more.seconds, 0.0);
  }

 private:
  struct Tables {
    std::map<std::string, UserRecord> users;
    std::map<std::string, SessionRecord> sessions;
    std::map<std::string, AccessTokenRecord> access;
    std::map<std::string, RefreshTokenRecord> refresh;
    std::map<std::pair<std::string, std::string>, UsageRecord> usage;
  };

  template <class Record>
  std::optional<Record> find(const std::map<std::string, Record>& table, const std::string& key) {
    const std::lock_guard lock(mutex_);
    const auto found = table.find(key);
    return found == table.end() ? std::nullopt : std::optional(found->second);
  }

  std::recursive_mutex mutex_;
  Tables tables_;
};

}  // namespace pell::localserver
