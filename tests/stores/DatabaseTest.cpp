#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <thread>

#include "stores/AppConfig.h"
#include "stores/Database.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Row = Database::Row;

class DatabaseTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory directory;
  std::filesystem::path file = directory.path() / "pell.db";

  /// The first column of each row, as text.
  static std::vector<std::string> texts(Database& database, const std::string& sql, int column = 0) {
    return database.query(sql, {}, [&](const Row& row) { return std::optional(row.text(column)); });
  }

  static std::string messageOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const Database::Failure& failure) {
      return failure.message();
    }
    return "nothing was thrown";
  }
};

TEST_F(DatabaseTest, FileOfAnEarlierVersionGetsItsColumnsOnce) {
  sqlite3* handle = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &handle), SQLITE_OK);
  const char* old =
      "CREATE TABLE dictations (id TEXT PRIMARY KEY, text TEXT NOT NULL, words INTEGER NOT NULL DEFAULT 0,"
      " characters INTEGER NOT NULL DEFAULT 0, duration REAL NOT NULL DEFAULT 0, created_at REAL NOT NULL,"
      " target_bundle_id TEXT, target_app TEXT, delivery TEXT NOT NULL DEFAULT 'none', saved_note_id TEXT);"
      "INSERT INTO dictations (id, text, created_at) VALUES ('old', 'kept words', 1);";
  EXPECT_EQ(sqlite3_exec(handle, old, nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(handle);
  for (int opening = 0; opening < 2; ++opening) {
    Database database(file);
    EXPECT_THAT(texts(database, "PRAGMA table_info(dictations)", 1),
                ElementsAre("id", "text", "words", "characters", "duration", "created_at", "target_bundle_id",
                            "target_app", "delivery", "saved_note_id", "raw_text", "prompt_version_title"));
    EXPECT_THAT(texts(database, "SELECT text FROM dictations WHERE raw_text IS NULL"),
                ElementsAre("kept words"));
  }
}

TEST_F(DatabaseTest, FilesArePrivateToTheUser) {
  std::ofstream(file).close();
  std::filesystem::permissions(file, std::filesystem::perms(0666));
  Database database(file);
  database.execute("INSERT INTO dictations (id, text, created_at) VALUES ('a', 'b', 1)");
  auto files = AppConfig::databaseSidecarURLs(file);
  files.push_back(file);
  for (const auto& path : files) {
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0) << path;
    EXPECT_EQ(info.st_mode & 07777, 0600u) << path;
  }
}

TEST_F(DatabaseTest, FilesThatAreNoDatabaseAreRefusedInWords) {
  const auto opening = [](const std::filesystem::path& path) {
    return messageOf([&] { Database database(path); });
  };
  EXPECT_EQ(opening(directory.path() / "nowhere" / "pell.db"),
            "Could not open the notes database: unable to open database file");
  EXPECT_EQ(opening(directory.path()), "Could not open the notes database: unable to open database file");
  std::ofstream(file) << std::string(8192, 'x');
  EXPECT_EQ(opening(file), "file is not a database");
}

TEST_F(DatabaseTest, DamagedPagesCostRowsAndNotTheProgram) {
  {
    Database database(file);
    for (int row = 0; row < 400; ++row) {
      database.run("INSERT INTO dictations (id, text, created_at) VALUES (?, ?, ?)",
                   {std::to_string(row), std::string(300, 'w'), double(row)});
    }
    EXPECT_EQ(database.damage(), std::nullopt);
  }
  {
    std::fstream damage(file, std::ios::in | std::ios::out | std::ios::binary);
    damage.seekp(static_cast<std::streamoff>(std::filesystem::file_size(file) / 2));
    damage << std::string(20000, '\xA5');
  }
  Database database(file);
  EXPECT_LT(texts(database, "SELECT id FROM dictations NOT INDEXED").size(), 400u);
  EXPECT_NE(database.damage(), std::nullopt);
  EXPECT_THAT(messageOf([&] { database.run("UPDATE dictations SET words = words + 1"); }),
              HasSubstr("malformed"));
}

TEST_F(DatabaseTest, ValuesComeBackAsTheyWereBound) {
  Database database(file);
  const std::vector<Database::Value> values{std::string("a\0b", 3), Database::Blob{std::string("\0\xFF", 2)},
                                            0.1, std::int64_t{-9007199254740993}, std::monostate()};
  const auto rows = database.query("SELECT ?, ?, ?, ?, ?", values, [](const Row& row) {
    EXPECT_EQ(row.text(0), std::string("a\0b", 3));
    EXPECT_EQ(row.data(1), std::string("\0\xFF", 2));
    EXPECT_EQ(row.real(2), 0.1);
    EXPECT_EQ(row.integer(3), -9007199254740993);
    EXPECT_EQ(row.text(4), "");
    EXPECT_EQ(row.optionalText(4), std::nullopt);
    EXPECT_EQ(row.optionalText(0), std::string("a\0b", 3));
    EXPECT_EQ(row.integer(4), 0);
    EXPECT_EQ(row.real(4), 0);
    EXPECT_EQ(row.data(4), "");
    return std::optional(true);
  });
  EXPECT_EQ(rows.size(), 1u);

  EXPECT_THAT(texts(database, "SELECT CAST(x'4DFFE282AC80C3' AS TEXT)"), ElementsAre("M\uFFFD€\uFFFD\uFFFD"));

  database.run("INSERT INTO notes VALUES ('n', 't', ?, '', 1, 1)", {Database::Blob{}});
  EXPECT_THAT(texts(database, "SELECT typeof(rtf) FROM notes"), ElementsAre("blob"));
}

TEST_F(DatabaseTest, QueriesDropWhatDecodesToNothingAndEndSilently) {
  Database database(file);
  // The last row but one cannot be computed.
  const auto odd =
      database.query("SELECT abs(column1) FROM (VALUES (1), (2), (3), (-9223372036854775807 - 1), (5))", {},
                     [](const Row& row) -> std::optional<std::int64_t> {
                       if (row.integer(0) % 2 == 0) return std::nullopt;
                       return row.integer(0);
                     });
  EXPECT_THAT(odd, ElementsAre(1, 3));
}

TEST_F(DatabaseTest, FailuresLeaveTheConnectionUsable) {
  Database database(file);
  EXPECT_THAT(messageOf([&] { database.execute("NONSENSE"); }), HasSubstr("syntax error"));
  EXPECT_THAT(messageOf([&] { database.run("INSERT INTO nowhere VALUES (1)"); }), HasSubstr("no such table"));
  const std::string insert = "INSERT INTO dictations (id, text, created_at) VALUES (?, 'x', 1)";
  database.run(insert, {std::string("same")});
  EXPECT_THAT(messageOf([&] { database.run(insert, {std::string("same")}); }), HasSubstr("UNIQUE"));
  EXPECT_THAT(messageOf([&] { database.run(insert, {std::monostate()}); }), StartsWith("nothing"));
  database.run("SELECT abs(column1) FROM (VALUES (1), (-9223372036854775807 - 1))");
  EXPECT_EQ(database.runCountingChanges("UPDATE dictations SET words = 3"), 2);
  EXPECT_EQ(database.changes(), 2);
}

TEST_F(DatabaseTest, CountsOfTwoThreadsStayApart) {
  Database database(file);
  database.execute("PRAGMA synchronous = OFF");
  std::thread writer([&] {
    for (int row = 0; row < 300; ++row) {
      database.run("INSERT INTO dictations (id, text, created_at) VALUES (?, 'x', 1)", {std::to_string(row)});
    }
  });
  int strangers = 0;
  for (int attempt = 0; attempt < 300; ++attempt) {
    strangers += database.runCountingChanges("DELETE FROM notes WHERE id = 'unknown'");
  }
  writer.join();
  EXPECT_EQ(strangers, 0);
}

}  // namespace
}  // namespace pell
