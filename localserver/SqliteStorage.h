#pragma once

#include <filesystem>
#include <mutex>

#include "localserver/Sql.h"
#include "localserver/Storage.h"

namespace pell::localserver {

/// The storage in one SQLite file with a write-ahead log. One mutex joins the threads; every operation
/// is an index look-up or a handful of rows.
class SqliteStorage : public Storage {
 public:
  /// Opens or makes the file, readable by its owner alone, checks it and brings its tables up to date. Throws
  /// StorageFailure with a sentence that names the file where it is damaged, read-only, or of a later
  /// version.
  explicit SqliteStorage(const std::filesystem::path& file);

  void atomically(const std::function<void()>& work) override;

  bool addUser(const UserRecord& user) override;
  std::optional<UserRecord> userById(const std::string& id) override;
  std::optional<UserRecord> userByEmail(const std::string& email) override;
  void updateUser(const UserRecord& user) override;
  void removeUser(const std::string& id) override;

  void addToken(const TokenRecord& token) override;
  std::optional<TokenRecord> token(TokenKind kind, const std::string& hash) override;
  void useToken(const TokenRecord& token) override;
  void removeFamily(const std::string& family) override;
  void removeTokensOf(const std::string& userId, std::optional<TokenKind> kind) override;
  void removeExpired(UnixSeconds now) override;

  UsageRecord usage(const std::string& userId, const std::string& month) override;
  UsageRecord lifetimeUsage(const std::string& userId) override;
  void addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) override;

  bool unlock(const std::string& userId, const std::string& achievement, UnixSeconds at) override;
  std::map<std::string, UnixSeconds> unlocked(const std::string& userId) override;

 private:
  void check();
  void upgrade();
  /// Runs one statement with its parameters in order; how many rows it changed.
  template <class... Parameters>
  int change(const char* sql, const Parameters&... parameters);
  std::optional<UserRecord> userWhere(const char* column, const std::string& value);
  UsageRecord sumUsage(const char* condition, const std::string& userId, const std::string& month);

  std::recursive_mutex mutex_;
  int depth_ = 0;
  SqlConnection connection_;
};

}  // namespace pell::localserver
