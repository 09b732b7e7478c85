// A thin cover over the SQLite connection: statements finalise themselves and failures are exceptions.
#pragma once

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace pell::localserver {

/// One prepared statement. Parameters are bound in order from the first. Belongs to the thread that uses it.
class SqlStatement {
 public:
  SqlStatement(sqlite3* connection, std::string_view sql);

  SqlStatement& bind(const std::string& text);
  SqlStatement& bind(std::int64_t number);
  SqlStatement& bind(double number);
  SqlStatement& bind(std::same_as<bool> auto truth) { return bind(std::int64_t{truth}); }
  SqlStatement& bind(const std::optional<std::string>& text);

  /// True while there is a row. Throws StorageFailure.
  bool step();
  /// Runs to the end.
  void run();

  std::string text(int column) const;
  std::optional<std::string> optionalText(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* connection_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  int bound_ = 0;
};

/// An open database file.
class SqlConnection {
 public:
  /// Throws StorageFailure with a sentence that names the file.
  explicit SqlConnection(const std::filesystem::path& file);

  void execute(const char* sql);
  SqlStatement statement(std::string_view sql);
  /// Rows that the last write touched.
  int changes() const;

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };
  std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace pell::localserver
