#include "stores/Database.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <sqlite3.h>

#include "stores/AppConfig.h"
#include "stores/Text.h"

namespace pell {
namespace {

// Another process (the history printed from a terminal) may hold the file for an instant.
constexpr int patienceMilliseconds = 2000;

constexpr const char* schema = R"(CREATE TABLE IF NOT EXISTS notes (
  id         TEXT PRIMARY KEY,
  title      TEXT NOT NULL,
  rtf        BLOB NOT NULL,
  text       TEXT NOT NULL,
  created_at REAL NOT NULL,
  updated_at REAL NOT NULL
);
CREATE INDEX IF NOT EXISTS idx_notes_created_at ON notes (created_at DESC);

-- Every dictation, saved the moment the text comes back and before any
-- attempt to deliver it. Added in v0.4.0 because transcripts were being
-- lost outright: dictate with no editable target focused and the words went
-- nowhere, with no record anywhere on the machine.
--
-- Local only, like notes. The server meters counts and seconds; the words
-- themselves stay here.
--
-- target_bundle_id / target_app are the application the text was sent to,
-- recorded for the per-app breakdown in Insights. They never leave the Mac.
-- delivery is how it went: inserted | pasted | copied | failed | none.
CREATE TABLE IF NOT EXISTS dictations (
  id            TEXT PRIMARY KEY,
  text          TEXT NOT NULL,
  words         INTEGER NOT NULL DEFAULT 0,
  characters    INTEGER NOT NULL DEFAULT 0,
  duration      REAL NOT NULL DEFAULT 0,
  created_at    REAL NOT NULL,
  target_bundle_id TEXT,
  target_app    TEXT,
  delivery      TEXT NOT NULL DEFAULT 'none',
  saved_note_id TEXT,
  raw_text      TEXT,
  prompt_version_title TEXT
);
CREATE INDEX IF NOT EXISTS idx_dictations_created_at ON dictations (created_at DESC);
)";

void bind(sqlite3_stmt* statement, int index, const Database::Value& value) {
  struct Binder {
    sqlite3_stmt* statement;
    int index;
    void operator()(const std::string& text) const {
      sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void operator()(const Database::Blob& blob) const {
      if (blob.bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) std::abort();
      // data() is never null, so that an empty blob does not turn into NULL.
      sqlite3_bind_blob(statement, index, blob.bytes.data(), static_cast<int>(blob.bytes.size()),
                        SQLITE_TRANSIENT);
    }
    void operator()(double number) const { sqlite3_bind_double(statement, index, number); }
    void operator()(std::int64_t number) const { sqlite3_bind_int64(statement, index, number); }
    void operator()(std::monostate) const { sqlite3_bind_null(statement, index); }
  };
  std::visit(Binder{statement, index}, value);
}

}  // namespace

class Database::Statement {
 public:
  explicit Statement(sqlite3_stmt* handle) : handle_(handle) {}

  sqlite3_stmt* get() const { return handle_.get(); }
  int step() { return sqlite3_step(handle_.get()); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

std::string Database::Row::text(int column) const { return optionalText(column).value_or(""); }

std::optional<std::string> Database::Row::optionalText(int column) const {
  const unsigned char* start = sqlite3_column_text(statement_, column);
  if (!start) return std::nullopt;
  const int size = sqlite3_column_bytes(statement_, column);
  return repairedUtf8({reinterpret_cast<const char*>(start), static_cast<std::size_t>(size)});
}

std::int64_t Database::Row::integer(int column) const { return sqlite3_column_int64(statement_, column); }

double Database::Row::real(int column) const { return sqlite3_column_double(statement_, column); }

std::string Database::Row::data(int column) const {
  const void* start = sqlite3_column_blob(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  return start ? std::string(static_cast<const char*>(start), static_cast<std::size_t>(size)) : std::string();
}

void Database::Close::operator()(sqlite3* handle) const { sqlite3_close(handle); }

Database::Database(const std::filesystem::path& file) {
  sqlite3* opened = nullptr;
  const int status = sqlite3_open_v2(
      file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
  std::unique_ptr<sqlite3, Close> connection(opened);
  if (status != SQLITE_OK || !connection) {
    const std::string reason = connection ? sqlite3_errmsg(connection.get()) : "unknown error";
    throw Failure("Could not open the notes database: " + reason);
  }
  handle_ = std::move(connection);
  sqlite3_busy_timeout(handle_.get(), patienceMilliseconds);
  execute("PRAGMA journal_mode = WAL;");
  AppConfig::restrictDatabaseFiles(file);
  execute("PRAGMA foreign_keys = ON;");
  execute(schema);
  addColumnIfMissing("dictations", "raw_text", "TEXT");
  addColumnIfMissing("dictations", "prompt_version_title", "TEXT");
}

Database::~Database() = default;

void Database::execute(const std::string& sql) {
  std::lock_guard lock(mutex_);
  char* text = nullptr;
  if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, &text) == SQLITE_OK) return;
  const std::string reason = text ? text : "unknown error";
  sqlite3_free(text);
  throw Failure(reason);
}

void Database::run(std::string_view sql, const std::vector<Value>& parameters) {
  runCountingChanges(sql, parameters);
}

int Database::runCountingChanges(std::string_view sql, const std::vector<Value>& parameters) {
  std::lock_guard lock(mutex_);
  Statement statement = prepare(sql, parameters);
  const int status = statement.step();
  if (status != SQLITE_ROW && status != SQLITE_DONE) throw Failure(sqlite3_errmsg(handle_.get()));
  return sqlite3_changes(handle_.get());
}

int Database::changes() {
  std::lock_guard lock(mutex_);
  return sqlite3_changes(handle_.get());
}

std::optional<std::string> Database::damage() {
  const auto found =
      query("PRAGMA quick_check(1)", {}, [](const Row& row) { return std::optional(row.text(0)); });
  if (found.empty()) return "it cannot be read";
  return found.front() == "ok" ? std::nullopt : std::optional(found.front());
}

void Database::forEachRow(std::string_view sql, const std::vector<Value>& parameters,
                          const std::function<void(const Row&)>& visit) {
  // The lock covers the error text alone: a long query must not hold up the saving of a dictation.
  std::unique_lock lock(mutex_);
  Statement statement = prepare(sql, parameters);
  lock.unlock();
  const Row row(statement.get());
  while (statement.step() == SQLITE_ROW) visit(row);
}

Database::Statement Database::prepare(std::string_view sql, const std::vector<Value>& parameters) {
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(handle_.get(), sql.data(), static_cast<int>(sql.size()), &prepared, nullptr) !=
      SQLITE_OK) {
    throw Failure(sqlite3_errmsg(handle_.get()));
  }
  Statement statement(prepared);
  int index = 0;
  for (const Value& value : parameters) bind(prepared, ++index, value);
  return statement;
}

void Database::addColumnIfMissing(const std::string& table, const std::string& column,
                                  const std::string& type) {
  const auto names = query("PRAGMA table_info(" + table + ")", {},
                           [](const Row& row) { return std::optional(row.text(1)); });
  if (std::ranges::find(names, column) != names.end()) return;
  execute("ALTER TABLE " + table + " ADD COLUMN " + column + " " + type + ";");
}

}  // namespace pell
