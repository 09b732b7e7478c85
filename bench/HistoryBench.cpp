// The history against the same SQL run by the SQLite library alone, in one run and taking turns, so that
// both meet the same machine.
#include <cstdlib>
#include <filesystem>
#include <fmt/core.h>
#include <functional>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/Figures.h"
#include "platform/linux/Heap.h"
#include "stores/Database.h"
#include "stores/DictationsRepository.h"

namespace {

using namespace pell;
namespace fs = std::filesystem;

constexpr int historyRows = 100'000;
constexpr double historySpan = 400.0 * 86400;  // seconds that the rows are spread over
const Date today = dateFromSeconds(1'750'000'000);

class FixedClock final : public WallClock {
 public:
  Date now() const override { return today; }
};

class Scratch {
 public:
  Scratch() {
    // Beside the program: on a disk, as a history would be, and not in a file system of memory.
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    std::string pattern = (folder / "history-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::exit(1);
    path = pattern;
  }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
  fs::path path;
};

/// The library alone, on a file of its own.
class Bare {
 public:
  explicit Bare(const fs::path& file) {
    if (sqlite3_open(file.c_str(), &handle_) != SQLITE_OK) std::exit(1);
  }
  ~Bare() { sqlite3_close(handle_); }

  void execute(const char* sql) { sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr); }

  void insert(std::string_view id, std::string_view text, double date) {
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(
        handle_,
        "INSERT INTO dictations (id, text, words, characters, duration, created_at,"
        " target_bundle_id, target_app, delivery, saved_note_id, raw_text, prompt_version_title)"
        " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, NULL, ?, ?)",
        -1, &statement, nullptr);
    const auto bindText = [&](int index, std::string_view value) {
      sqlite3_bind_text(statement, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC);
    };
    bindText(1, id);
    bindText(2, text);
    sqlite3_bind_int64(statement, 3, 40);
    sqlite3_bind_int64(statement, 4, static_cast<sqlite3_int64>(text.size()));
    sqlite3_bind_double(statement, 5, 12.5);
    sqlite3_bind_double(statement, 6, date);
    bindText(7, "org.example.Editor");
    bindText(8, "Editor");
    bindText(9, "none");
    bindText(10, text);
    bindText(11, "Version 3");
    if (sqlite3_step(statement) != SQLITE_DONE) std::exit(1);
    sqlite3_finalize(statement);
  }

  /// Steps through a query and looks at every column. The sum keeps the work from being left out.
  std::int64_t read(const std::string& sql, const std::function<void(sqlite3_stmt*)>& bind) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(handle_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) std::exit(1);
    bind(statement);
    std::int64_t sum = 0;
    const int columns = sqlite3_column_count(statement);
    while (sqlite3_step(statement) == SQLITE_ROW) {
      for (int column = 0; column < columns; ++column) {
        switch (sqlite3_column_type(statement, column)) {
          case SQLITE_INTEGER:
            sum += sqlite3_column_int64(statement, column);
            break;
          case SQLITE_FLOAT:
            sum += static_cast<std::int64_t>(sqlite3_column_double(statement, column));
            break;
          case SQLITE_TEXT:
            sum += static_cast<std::int64_t>(
                std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, column))).size());
            break;
          default:
            break;
        }
      }
    }
    sqlite3_finalize(statement);
    return sum;
  }

 private:
  sqlite3* handle_ = nullptr;
};

double microseconds(const std::function<void()>& work) {
  const Instant start = bench::now();
  work();
  return 1000 * bench::millisecondsBetween(start, bench::now());
}

struct Duel {
  std::string name;
  int rounds;
  std::string goal;
  std::function<void()> ours;
  std::function<void()> floor;
};

void run(const Duel& duel) {
  duel.ours();
  duel.floor();
  bench::Samples ours, floor;
  for (int round = 0; round < duel.rounds; ++round) {
    // Whoever comes second finds warm caches: take turns in that as well.
    if (round % 2 == 0) ours.add(microseconds(duel.ours));
    floor.add(microseconds(duel.floor));
    if (round % 2 == 1) ours.add(microseconds(duel.ours));
  }
  bench::printDuel(duel.name, ours, floor, duel.goal);
}

std::string sentence(int number) {
  std::string text = fmt::format("Dictation number {} about the harvest, ", number);
  for (int word = 0; word < 30; ++word) text += fmt::format("word{} ", (number * 31 + word * 7) % 977);
  return text;
}

DictationsRepository::NewDictation dictation(int number) {
  const std::string text = sentence(number);
  return {.text = text,
          .words = 40,
          .characters = static_cast<std::int64_t>(text.size()),
          .duration = 12.5,
          .targetBundleID = "org.example.Editor",
          .targetApp = "Editor",
          .rawText = text,
          .promptVersionTitle = "Version 3"};
}

void compareWriting(const Scratch& scratch, const WallClock& clock) {
  Database ownFile(scratch.path / "own.db");
  DictationsRepository history(ownFile, clock);
  { Database schema(scratch.path / "bare.db"); }
  Bare bare(scratch.path / "bare.db");
  int ours = 0;
  int floor = 0;
  const Duel writing{.name = "record",
                     .rounds = 400,
                     .goal = "<= 1.3",
                     .ours = [&] { history.record(dictation(++ours)); },
                     .floor =
                         [&] {
                           const auto next = dictation(++floor);
                           bare.insert(fmt::format("{:036}", floor), next.text, 1'750'000'000.0);
                         }};
  run(writing);
  // The same without waiting for the disk, which otherwise hides everything else.
  ownFile.execute("PRAGMA synchronous = OFF");
  bare.execute("PRAGMA synchronous = OFF");
  Duel unsynced = writing;
  unsynced.name = "record-without-fsync";
  unsynced.rounds = 5000;
  unsynced.goal = "";
  run(unsynced);
}

void fill(const fs::path& file) {
  { Database schema(file); }
  Bare bare(file);
  bare.execute("PRAGMA synchronous = OFF; BEGIN");
  const double start = secondsSince1970(today) - historySpan;
  for (int row = 0; row < historyRows; ++row) {
    bare.insert(fmt::format("{:036}", row), sentence(row), start + row * (historySpan / historyRows));
  }
  bare.execute(
      "UPDATE dictations SET target_bundle_id = 'app.' || (rowid % 25), target_app = 'App ' || (rowid % 25),"
      " delivery = CASE rowid % 9 WHEN 0 THEN 'failed' ELSE 'inserted' END");
  bare.execute("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
}

constexpr std::string_view columns =
    "id, text, words, characters, duration, created_at, target_bundle_id, target_app, delivery, "
    "saved_note_id, raw_text, prompt_version_title";

/// The history, the library alone on the same file, and what keeps the work of both from being left out.
struct Readers {
  DictationsRepository& history;
  Bare& bare;
  std::int64_t sink = 0;
};

void compareRecent(Readers& readers) {
  const std::string sql = fmt::format("SELECT {} FROM dictations ORDER BY created_at DESC LIMIT ?", columns);
  run({.name = "recent",
       .rounds = 400,
       .goal = "<= 1.2",
       .ours = [&] { readers.sink += static_cast<std::int64_t>(readers.history.recent().size()); },
       .floor =
           [&] {
             readers.sink += readers.bare.read(
                 sql, [](sqlite3_stmt* statement) { sqlite3_bind_int64(statement, 1, 500); });
           }});
}

void compareSearching(Readers& readers) {
  const std::string sql = fmt::format(
      "SELECT {} FROM dictations WHERE text LIKE ? ESCAPE '\\' ORDER BY created_at DESC LIMIT ?", columns);
  for (const auto& [name, word] :
       {std::pair("search-common", "harvest"), std::pair("search-rare", "number 4711 about"),
        std::pair("search-nothing", "zebra")}) {
    const std::string pattern = fmt::format("%{}%", word);
    const std::string query = word;
    run({.name = name,
         .rounds = 30,
         .goal = "<= 1.2",
         .ours = [&] { readers.sink += static_cast<std::int64_t>(readers.history.search(query).size()); },
         .floor =
             [&] {
               readers.sink += readers.bare.read(sql, [&](sqlite3_stmt* statement) {
                 sqlite3_bind_text(statement, 1, pattern.c_str(), -1, SQLITE_STATIC);
                 sqlite3_bind_int64(statement, 2, 500);
               });
             }});
  }
}

void compareStatistics(Readers& readers) {
  const auto nothing = [](sqlite3_stmt*) {};
  const auto readBare = [&] {
    readers.sink += readers.bare.read(
        "SELECT COALESCE(target_app, 'Unknown'), COALESCE(target_bundle_id, ''), COUNT(*),"
        " COALESCE(SUM(words), 0) FROM dictations WHERE target_bundle_id IS NOT NULL"
        " GROUP BY target_bundle_id, target_app ORDER BY 3 DESC, 1 ASC",
        nothing);
    readers.sink += readers.bare.read(
        "SELECT CAST(strftime('%s', date(created_at, 'unixepoch', 'localtime')) AS REAL),"
        " COALESCE(SUM(words), 0), COUNT(*) FROM dictations WHERE created_at >= ?"
        " GROUP BY 1 ORDER BY 1",
        [](sqlite3_stmt* statement) {
          sqlite3_bind_double(statement, 1, secondsSince1970(today) - 90 * 86400.0);
        });
    readers.sink += readers.bare.read(
        "SELECT COUNT(*), COALESCE(SUM(words), 0), COALESCE(SUM(duration), 0),"
        " COUNT(*) FILTER (WHERE delivery IN ('failed', 'none')) FROM dictations",
        nothing);
  };
  run({.name = "statistics",
       .rounds = 20,
       .goal = "<= 1.2",
       .ours = [&] { readers.sink += readers.history.stats().totalWords; },
       .floor = readBare});
}

void compareReading(const Scratch& scratch, const WallClock& clock) {
  const fs::path file = scratch.path / "history.db";
  fill(file);
  Database database(file);
  DictationsRepository history(database, clock);
  Bare bare(file);
  Readers readers{.history = history, .bare = bare};
  compareRecent(readers);
  compareSearching(readers);
  compareStatistics(readers);
  if (readers.sink == 0) std::exit(1);
}

}  // namespace

int main() {
  setHeapLimits();  // as the application does
  const Scratch scratch;
  const FixedClock clock;
  bench::printHeader("microseconds");
  compareWriting(scratch, clock);
  compareReading(scratch, clock);
}
