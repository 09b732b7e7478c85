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

  void addSession(const SessionRecord& session) override;
  std::optional<SessionRecord> session(const std::string& id) override;
  void removeSession(const std::string& id) override;

  void addAccessToken(const AccessTokenRecord& token) override;
  std::optional<AccessTokenRecord> accessToken(const std::string& hash) override;

  void addRefreshToken(const RefreshTokenRecord& token) override;
  std::optional<RefreshTokenRecord> refreshToken(const std::string& hash) override;
  void useRefreshToken(const RefreshTokenRecord& token) override;

  void removeExpired(UnixSeconds now) override;

  UsageRecord usage(const std::string& userId, const std::string& month) override;
  void addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) override;

 private:
  void check();
  void upgrade();
  std::optional<UserRecord> userWhere(const char* column, const std::string& value);

  std::recursive_mutex mutex_;
  int depth_ = 0;
  SqlConnection connection_;
};

}  // namespace pell::localserver
