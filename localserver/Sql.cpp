#include "localserver/Sql.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include "localserver/Storage.h"

namespace pell::localserver {
namespace {

[[noreturn]] void fail(sqlite3* connection) {
  throw StorageFailure(fmt::format("The database failed: {}.", sqlite3_errmsg(connection)));
}

}  // namespace

void SqlStatement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

SqlStatement::SqlStatement(sqlite3* connection, std::string_view sql) : connection_(connection) {
  sqlite3_stmt* statement = nullptr;
  const int length = static_cast<int>(sql.size());
  if (sqlite3_prepare_v2(connection, sql.data(), length, &statement, nullptr) != SQLITE_OK) fail(connection);
  statement_.reset(statement);
}

SqlStatement& SqlStatement::bind(const std::string& text) {
  const int length = static_cast<int>(text.size());
  if (sqlite3_bind_text(statement_.get(), ++bound_, text.data(), length, SQLITE_TRANSIENT) != SQLITE_OK) {
    fail(connection_);
  }
  return *this;
}

SqlStatement& SqlStatement::bind(std::int64_t number) {
  if (sqlite3_bind_int64(statement_.get(), ++bound_, number) != SQLITE_OK) fail(connection_);
  return *this;
}

SqlStatement& SqlStatement::bind(double number) {
  if (sqlite3_bind_double(statement_.get(), ++bound_, number) != SQLITE_OK) fail(connection_);
  return *this;
}

SqlStatement& SqlStatement::bind(const std::optional<std::string>& text) {
  if (text) return bind(*text);
  if (sqlite3_bind_null(statement_.get(), ++bound_) != SQLITE_OK) fail(connection_);
  return *this;
}

bool SqlStatement::step() {
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) return true;
  if (result != SQLITE_DONE) fail(connection_);
  return false;
}

void SqlStatement::run() {
  while (step()) {
  }
}

std::string SqlStatement::text(int column) const { return optionalText(column).value_or(""); }

std::optional<std::string> SqlStatement::optionalText(int column) const {
  const unsigned char* bytes = sqlite3_column_text(statement_.get(), column);
  if (!bytes) return std::nullopt;
  const int length = sqlite3_column_bytes(statement_.get(), column);
  return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

std::int64_t SqlStatement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double SqlStatement::real(int column) const { return sqlite3_column_double(statement_.get(), column); }

void SqlConnection::Close::operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }

SqlConnection::SqlConnection(const std::filesystem::path& file) {
  sqlite3* connection = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
  const int result = sqlite3_open_v2(file.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  if (result != SQLITE_OK) {
    throw StorageFailure(fmt::format("The database {} cannot be opened: {}.", file.string(),
                                     connection ? sqlite3_errmsg(connection) : "out of memory"));
  }
  sqlite3_busy_timeout(connection, 5000);
}

void SqlConnection::execute(const char* sql) {
  if (sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail(connection_.get());
}

SqlStatement SqlConnection::statement(std::string_view sql) { return {connection_.get(), sql}; }

int SqlConnection::changes() const { return sqlite3_changes(connection_.get()); }

}  // namespace pell::localserver
