#include "localserver/SqliteSchema.h"

#include <array>
#include <fmt/format.h>

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
    // A sign-in became what its tokens have in common; other kinds of token came; plans and achievements.
    R"sql(
create table tokens (
  hash text not null,
  kind integer not null,
  user_id text not null references users (id) on delete cascade,
  family text not null,
  generation integer not null,
  expires_at integer not null,
  used integer not null,
  replaced integer not null,
  primary key (kind, hash)
) without rowid;
create index tokens_by_family on tokens (family);
create index tokens_by_user on tokens (user_id);
create index tokens_by_expiry on tokens (expires_at);
insert into tokens
  select hash, 0, user_id, session_id, 0, expires_at, 0, 0
  from access_tokens join sessions on sessions.id = session_id;
insert into tokens
  select hash, 1, user_id, session_id, generation, expires_at, used, replaced
  from refresh_tokens join sessions on sessions.id = session_id;
drop table access_tokens;
drop table refresh_tokens;
drop table sessions;
alter table users add column plan text;
create table achievements (
  user_id text not null references users (id) on delete cascade,
  id text not null,
  unlocked_at integer not null,
  primary key (user_id, id)
) without rowid;
)sql",
};

}  // namespace

std::int64_t latestSchema() { return static_cast<std::int64_t>(migrations.size()); }

std::string migrationTo(std::int64_t version) {
  return migrations.at(static_cast<std::size_t>(version - 1)) +
         fmt::format("pragma user_version = {};", version);
}

}  // namespace pell::localserver
