#include "localserver/SqliteStorage.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "localserver/SqliteSchema.h"

namespace pell::localserver {
namespace {

/// SQLite would make the file readable by everybody that the umask allows.
void makePrivate(const std::filesystem::path& file) {
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (descriptor < 0) {
    throw StorageFailure(fmt::format("The database {} cannot be opened for writing: {}.", file.string(),
                                     std::generic_category().message(errno)));
  }
  close(descriptor);
}

}  // namespace

SqliteStorage::SqliteStorage(const std::filesystem::path& file)
    : connection_((makePrivate(file), SqlConnection(file))) {
  try {
    check();
    upgrade();
  } catch (const StorageFailure& failure) {
    throw StorageFailure(fmt::format("The database {} cannot be used. {}", file.string(), failure.what()));
  }
}

void SqliteStorage::check() {
  connection_.execute("pragma journal_mode = wal");
  // A write is on the disk when it returns: a sign-in that was ended must not come back with the power.
  connection_.execute("pragma synchronous = full");
  connection_.execute("pragma foreign_keys = on");
  // What is removed must not be readable in the file any longer.
  connection_.execute("pragma secure_delete = on");
  auto check = connection_.statement("pragma quick_check(1)");
  if (check.step() && check.text(0) != "ok") throw StorageFailure("It is damaged.");
}

void SqliteStorage::upgrade() {
  std::int64_t version = 0;
  {
    auto statement = connection_.statement("pragma user_version");
    if (statement.step()) version = statement.integer(0);
  }
  if (version > latestSchema()) throw StorageFailure("It was written by a later version of pell-server.");
  while (version < latestSchema()) {
    ++version;
    atomically([&] { connection_.execute(migrationTo(version).c_str()); });
  }
}

void SqliteStorage::atomically(const std::function<void()>& work) {
  const std::lock_guard lock(mutex_);
  if (depth_ > 0) return work();
  connection_.execute("begin immediate");
  ++depth_;
  try {
    work();
    connection_.execute("commit");
    --depth_;
  } catch (...) {
    --depth_;
    try {
      connection_.execute("rollback");
    } catch (const StorageFailure&) {
      // SQLite rolls back by itself after some failures; the first failure is the one to tell.
    }
    throw;
  }
}

template <class... Parameters>
int SqliteStorage::change(const char* sql, const Parameters&... parameters) {
  const std::lock_guard lock(mutex_);
  auto statement = connection_.statement(sql);
  (statement.bind(parameters), ...);
  statement.run();
  return connection_.changes();
}

bool SqliteStorage::addUser(const UserRecord& user) {
  return change("insert into users values (?, ?, ?, ?, ?, ?, ?, ?, ?) on conflict (email) do nothing",
                user.id, user.email, user.passwordHash, user.isAdmin, user.emailVerified, user.cleanupEnabled,
                user.cleanupPromptVersion, user.createdAt, user.plan) == 1;
}

std::optional<UserRecord> SqliteStorage::userWhere(const char* column, const std::string& value) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement(
      fmt::format("select id, email, password_hash, is_admin, email_verified, cleanup_enabled, "
                  "cleanup_prompt_version, created_at, plan from users where {} = ?",
                  column));
  if (!row.bind(value).step()) return std::nullopt;
  return UserRecord{.id = row.text(0),
                    .email = row.text(1),
                    .passwordHash = row.text(2),
                    .isAdmin = row.integer(3) != 0,
                    .emailVerified = row.integer(4) != 0,
                    .cleanupEnabled = row.integer(5) != 0,
                    .cleanupPromptVersion = row.optionalText(6),
                    .createdAt = row.integer(7),
                    .plan = row.optionalText(8)};
}

std::optional<UserRecord> SqliteStorage::userById(const std::string& id) { return userWhere("id", id); }

std::optional<UserRecord> SqliteStorage::userByEmail(const std::string& email) {
  return userWhere("email", email);
}

void SqliteStorage::updateUser(const UserRecord& user) {
  change(
      "update users set password_hash = ?, is_admin = ?, email_verified = ?, cleanup_enabled = ?, "
      "cleanup_prompt_version = ?, plan = ? where id = ?",
      user.passwordHash, user.isAdmin, user.emailVerified, user.cleanupEnabled, user.cleanupPromptVersion,
      user.plan, user.id);
}

void SqliteStorage::removeUser(const std::string& id) {
  const std::lock_guard lock(mutex_);
  change("delete from users where id = ?", id);
  // The log of earlier writes holds the removed rows until it is folded into the file.
  if (depth_ == 0) connection_.execute("pragma wal_checkpoint(truncate)");
}

void SqliteStorage::addToken(const TokenRecord& token) {
  change("insert into tokens values (?, ?, ?, ?, ?, ?, ?, ?)", token.hash,
         static_cast<std::int64_t>(token.kind), token.userId, token.family, token.generation, token.expiresAt,
         token.used, token.replaced);
}

std::optional<TokenRecord> SqliteStorage::token(TokenKind kind, const std::string& hash) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement(
      "select user_id, family, generation, expires_at, used, replaced from tokens where kind = ? and hash = "
      "?");
  if (!row.bind(static_cast<std::int64_t>(kind)).bind(hash).step()) return std::nullopt;
  return TokenRecord{.hash = hash,
                     .kind = kind,
                     .userId = row.text(0),
                     .family = row.text(1),
                     .generation = row.integer(2),
                     .expiresAt = row.integer(3),
                     .used = row.integer(4) != 0,
                     .replaced = row.integer(5) != 0};
}

void SqliteStorage::useToken(const TokenRecord& token) {
  constexpr auto refresh = static_cast<std::int64_t>(TokenKind::refresh);
  atomically([&] {
    change("update tokens set used = 1 where kind = ? and hash = ?", refresh, token.hash);
    change(
        "update tokens set replaced = 1 where kind = ? and family = ? and generation <= ? and hash <> ? and "
        "replaced = 0",
        refresh, token.family, token.generation, token.hash);
  });
}

void SqliteStorage::removeFamily(const std::string& family) {
  change("delete from tokens where family = ?", family);
}

void SqliteStorage::removeTokensOf(const std::string& userId, std::optional<TokenKind> kind) {
  if (!kind) {
    change("delete from tokens where user_id = ?", userId);
    return;
  }
  change("delete from tokens where user_id = ? and kind = ?", userId, static_cast<std::int64_t>(*kind));
}

void SqliteStorage::removeExpired(UnixSeconds now) {
  change("delete from tokens where expires_at <= ?", now);
}

UsageRecord SqliteStorage::sumUsage(const char* condition, const std::string& userId,
                                    const std::string& month) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement(fmt::format(
      "select total(dictations), total(words), total(characters), total(seconds) from usage where "
      "user_id = ? and month {} ?",
      condition));
  if (!row.bind(userId).bind(month).step()) return {};
  return {.dictations = row.integer(0),
          .words = row.integer(1),
          .characters = row.integer(2),
          .seconds = row.real(3)};
}

UsageRecord SqliteStorage::usage(const std::string& userId, const std::string& month) {
  return sumUsage("=", userId, month);
}

UsageRecord SqliteStorage::lifetimeUsage(const std::string& userId) { return sumUsage(">=", userId, ""); }

void SqliteStorage::addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) {
  change(
      "insert into usage values (?1, ?2, max(?3, 0), max(?4, 0), max(?5, 0), max(?6, 0.0)) "
      "on conflict (user_id, month) do update set dictations = max(dictations + ?3, 0), "
      "words = max(words + ?4, 0), characters = max(characters + ?5, 0), "
      "seconds = max(seconds + ?6, 0.0)",
      userId, month, more.dictations, more.words, more.characters, more.seconds);
}

bool SqliteStorage::unlock(const std::string& userId, const std::string& achievement, UnixSeconds at) {
  return change("insert into achievements values (?, ?, ?) on conflict do nothing", userId, achievement,
                at) == 1;
}

std::map<std::string, UnixSeconds> SqliteStorage::unlocked(const std::string& userId) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement("select id, unlocked_at from achievements where user_id = ?");
  row.bind(userId);
  std::map<std::string, UnixSeconds> found;
  while (row.step()) found.emplace(row.text(0), row.integer(1));
  return found;
}

}  // namespace pell::localserver
