#include "localserver/SqliteStorage.h"

#include <array>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace pell::localserver {
namespace {

// One entry per version of the tables; an entry is never edited once it was released, only followed by
// another.
constexpr std::array migrations = {
    R"sql(
create table users (
  id text primary key,
  email text not null unique,
  password_hash text not null,
  is_admin integer not null,
  email_verified integer not null,
  cleanup_enabled integer not null,
  cleanup_prompt_version text,
  created_at integer not null
);
create table sessions (
  id text primary key,
  user_id text not null references users (id) on delete cascade,
  created_at integer not null
);
create index sessions_by_user on sessions (user_id);
create table access_tokens (
  hash text primary key,
  session_id text not null references sessions (id) on delete cascade,
  expires_at integer not null
);
create index access_tokens_by_session on access_tokens (session_id);
create table refresh_tokens (
  hash text primary key,
  session_id text not null references sessions (id) on delete cascade,
  generation integer not null,
  expires_at integer not null,
  used integer not null,
  replaced integer not null
);
create index refresh_tokens_by_session on refresh_tokens (session_id);
create table usage (
  user_id text not null references users (id) on delete cascade,
  month text not null,
  dictations integer not null,
  words integer not null,
  characters integer not null,
  seconds real not null,
  primary key (user_id, month)
);
)sql",
};

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
  connection_.execute("pragma synchronous = normal");
  connection_.execute("pragma foreign_keys = on");
  auto check = connection_.statement("pragma quick_check(1)");
  if (check.step() && check.text(0) != "ok") throw StorageFailure("It is damaged.");
}

void SqliteStorage::upgrade() {
  std::int64_t version = 0;
  {
    auto statement = connection_.statement("pragma user_version");
    if (statement.step()) version = statement.integer(0);
  }
  if (version > static_cast<std::int64_t>(migrations.size())) {
    throw StorageFailure("It was written by a later version of pell-server.");
  }
  for (auto next = static_cast<std::size_t>(version); next < migrations.size(); ++next) {
    atomically([&] {
      connection_.execute(migrations[next]);
      connection_.execute(fmt::format("pragma user_version = {}", next + 1).c_str());
    });
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

bool SqliteStorage::addUser(const UserRecord& user) {
  const std::lock_guard lock(mutex_);
  connection_.statement("insert into users values (?, ?, ?, ?, ?, ?, ?, ?) on conflict (email) do nothing")
      .bind(user.id)
      .bind(user.email)
      .bind(user.passwordHash)
      .bind(std::int64_t{user.isAdmin})
      .bind(std::int64_t{user.emailVerified})
      .bind(std::int64_t{user.cleanupEnabled})
      .bind(user.cleanupPromptVersion)
      .bind(user.createdAt)
      .run();
  return connection_.changes() == 1;
}

std::optional<UserRecord> SqliteStorage::userWhere(const char* column, const std::string& value) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement(fmt::format("select * from users where {} = ?", column));
  if (!row.bind(value).step()) return std::nullopt;
  return UserRecord{.id = row.text(0),
                    .email = row.text(1),
                    .passwordHash = row.text(2),
                    .isAdmin = row.integer(3) != 0,
                    .emailVerified = row.integer(4) != 0,
                    .cleanupEnabled = row.integer(5) != 0,
                    .cleanupPromptVersion = row.optionalText(6),
                    .createdAt = row.integer(7)};
}

std::optional<UserRecord> SqliteStorage::userById(const std::string& id) { return userWhere("id", id); }

std::optional<UserRecord> SqliteStorage::userByEmail(const std::string& email) {
  return userWhere("email", email);
}

void SqliteStorage::addSession(const SessionRecord& session) {
  const std::lock_guard lock(mutex_);
  connection_.statement("insert into sessions values (?, ?, ?)")
      .bind(session.id)
      .bind(session.userId)
      .bind(session.createdAt)
      .run();
}

std::optional<SessionRecord> SqliteStorage::session(const std::string& id) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement("select * from sessions where id = ?");
  if (!row.bind(id).step()) return std::nullopt;
  return SessionRecord{.id = row.text(0), .userId = row.text(1), .createdAt = row.integer(2)};
}

void SqliteStorage::removeSession(const std::string& id) {
  const std::lock_guard lock(mutex_);
  connection_.statement("delete from sessions where id = ?").bind(id).run();
}

void SqliteStorage::addAccessToken(const AccessTokenRecord& token) {
  const std::lock_guard lock(mutex_);
  connection_.statement("insert into access_tokens values (?, ?, ?)")
      .bind(token.hash)
      .bind(token.sessionId)
      .bind(token.expiresAt)
      .run();
}

std::optional<AccessTokenRecord> SqliteStorage::accessToken(const std::string& hash) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement("select * from access_tokens where hash = ?");
  if (!row.bind(hash).step()) return std::nullopt;
  return AccessTokenRecord{.hash = row.text(0), .sessionId = row.text(1), .expiresAt = row.integer(2)};
}

void SqliteStorage::addRefreshToken(const RefreshTokenRecord& token) {
  const std::lock_guard lock(mutex_);
  connection_.statement("insert into refresh_tokens values (?, ?, ?, ?, ?, ?)")
      .bind(token.hash)
      .bind(token.sessionId)
      .bind(token.generation)
      .bind(token.expiresAt)
      .bind(std::int64_t{token.used})
      .bind(std::int64_t{token.replaced})
      .run();
}

std::optional<RefreshTokenRecord> SqliteStorage::refreshToken(const std::string& hash) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement("select * from refresh_tokens where hash = ?");
  if (!row.bind(hash).step()) return std::nullopt;
  return RefreshTokenRecord{.hash = row.text(0),
                            .sessionId = row.text(1),
                            .generation = row.integer(2),
                            .expiresAt = row.integer(3),
                            .used = row.integer(4) != 0,
                            .replaced = row.integer(5) != 0};
}

void SqliteStorage::useRefreshToken(const RefreshTokenRecord& token) {
  atomically([&] {
    connection_.statement("update refresh_tokens set used = 1 where hash = ?").bind(token.hash).run();
    connection_
        .statement(
            "update refresh_tokens set replaced = 1 where session_id = ? and generation <= ? and hash <> ?")
        .bind(token.sessionId)
        .bind(token.generation)
        .bind(token.hash)
        .run();
  });
}

void SqliteStorage::removeExpired(UnixSeconds now) {
  atomically([&] {
    connection_.statement("delete from access_tokens where expires_at <= ?").bind(now).run();
    connection_.statement("delete from refresh_tokens where expires_at <= ?").bind(now).run();
    connection_.execute("delete from sessions where id not in (select session_id from refresh_tokens)");
  });
}

UsageRecord SqliteStorage::usage(const std::string& userId, const std::string& month) {
  const std::lock_guard lock(mutex_);
  auto row = connection_.statement(
      "select dictations, words, characters, seconds from usage where user_id = ? and month = ?");
  if (!row.bind(userId).bind(month).step()) return {};
  return {.dictations = row.integer(0),
          .words = row.integer(1),
          .characters = row.integer(2),
          .seconds = row.real(3)};
}

void SqliteStorage::addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) {
  const std::lock_guard lock(mutex_);
  connection_
      .statement(
          "insert into usage values (?1, ?2, max(?3, 0), max(?4, 0), max(?5, 0), max(?6, 0.0)) "
          "on conflict (user_id, month) do update set dictations = max(dictations + ?3, 0), "
          "words = max(words + ?4, 0), characters = max(characters + ?5, 0), "
          "seconds = max(seconds + ?6, 0.0)")
      .bind(userId)
      .bind(month)
      .bind(more.dictations)
      .bind(more.words)
      .bind(more.characters)
      .bind(more.seconds)
      .run();
}

}  // namespace pell::localserver
