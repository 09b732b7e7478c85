// The one thin layer over SQLite.
#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace pell {

/// One connection to one file, with its schema brought up to date. Any thread: two repositories share a
/// connection, and one mutex joins each change with its error text and its count of changed rows.
class Database {
 public:
  /// Every failure of this layer; the message is SQLite's own unless said otherwise.
  class Failure : public std::exception {
   public:
    explicit Failure(std::string message) : message_(std::move(message)) {}
    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

   private:
    std::string message_;
  };

  struct Blob {
    std::string bytes;
    bool operator==(const Blob&) const = default;
  };

  /// A bound parameter: text, blob, double, int or null. A blob must be smaller than 2 GiB; a larger one
  /// ends the process.
  using Value = std::variant<std::string, Blob, double, std::int64_t, std::monostate>;

  /// The present row of a query; valid only inside the callback that is given it. Columns count from 0.
  class Row {
   public:
    explicit Row(sqlite3_stmt* statement) : statement_(statement) {}

    /// Whole, a NUL in it included; invalid UTF-8 is replaced by U+FFFD. NULL gives the empty string.
    std::string text(int column) const;
    std::optional<std::string> optionalText(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;
    std::string data(int column) const;

   private:
    sqlite3_stmt* statement_;
  };

  /// Opens or creates the file, makes it private to the user and brings the schema up to date. Throws
  /// `Failure` ("Could not open the notes database: ..." when the file itself cannot be opened).
  explicit Database(const std::filesystem::path& file);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;
  ~Database();

  /// Runs a whole script.
  void execute(const std::string& sql);

  /// Runs one statement that changes data; of one that yields rows only the first step is made.
  void run(std::string_view sql, const std::vector<Value>& parameters = {});

  /// `run`, with the number of rows that this very statement changed, whatever other threads do.
  int runCountingChanges(std::string_view sql, const std::vector<Value>& parameters = {});

  /// The rows of a query in SQLite's order. A row for which `decode` gives an absent optional is left
  /// out. A step that fails half way ends the rows and raises nothing. `decode` must not throw.
  template <class Decode>
  auto query(std::string_view sql, const std::vector<Value>& parameters, Decode decode) {
    using T = typename std::invoke_result_t<Decode&, const Row&>::value_type;
    std::vector<T> rows;
    forEachRow(sql, parameters, [&](const Row& row) {
      if (std::optional<T> value = decode(row)) rows.push_back(std::move(*value));
    });
    return rows;
  }

  /// The rows changed by the connection's most recent statement, whoever ran it.
  int changes();

  /// What is wrong with the file, in SQLite's words; absent if nothing is. Reads all of it: for whoever must
  /// not take what a damaged file still gives for everything that was kept.
  std::optional<std::string> damage();

 private:
  class Statement;
  struct Close {
    void operator()(sqlite3* handle) const;
  };

  void forEachRow(std::string_view sql, const std::vector<Value>& parameters,
                  const std::function<void(const Row&)>& visit);
  Statement prepare(std::string_view sql, const std::vector<Value>& parameters);
  void addColumnIfMissing(const std::string& table, const std::string& column, const std::string& type);

  std::unique_ptr<sqlite3, Close> handle_;
  std::mutex mutex_;
};

}  // namespace pell
