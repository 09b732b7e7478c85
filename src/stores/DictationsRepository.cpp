#include "stores/DictationsRepository.h"

#include <fmt/core.h>
#include <map>
#include <utility>

#include "stores/Text.h"
#include "stores/Uuid.h"

namespace pell {
namespace {

constexpr double secondsPerDay = 86400.0;

constexpr std::string_view recordColumns =
    "id, text, words, characters, duration, created_at, target_bundle_id, target_app, delivery, "
    "saved_note_id, raw_text, prompt_version_title";

constexpr std::string_view insertSql =
    "INSERT INTO dictations\n"
    "  (id, text, words, characters, duration, created_at,\n"
    "   target_bundle_id, target_app, delivery, saved_note_id,\n"
    "   raw_text, prompt_version_title)\n"
    "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, NULL, ?, ?)";

constexpr std::string_view byAppSql =
    "SELECT COALESCE(target_app, 'Unknown'), COALESCE(target_bundle_id, ''),\n"
    "       COUNT(*), COALESCE(SUM(words), 0)\n"
    "  FROM dictations\n"
    " WHERE target_bundle_id IS NOT NULL\n"
    " GROUP BY target_bundle_id, target_app\n"
    " -- Name breaks the tie so the list is stable between reads;\n"
    " -- without it two apps with equal counts swap places at random.\n"
    " ORDER BY 3 DESC, 1 ASC";

constexpr std::string_view dailySql =
    "SELECT CAST(strftime('%s', date(created_at, 'unixepoch', 'localtime')) AS REAL),\n"
    "       COALESCE(SUM(words), 0), COUNT(*)\n"
    "  FROM dictations\n"
    " WHERE created_at >= ?\n"
    " GROUP BY 1\n"
    " ORDER BY 1";

constexpr std::string_view totalsSql =
    "SELECT COUNT(*), COALESCE(SUM(words), 0), COALESCE(SUM(duration), 0),\n"
    "       COUNT(*) FILTER (WHERE delivery IN ('failed', 'none'))\n"
    "  FROM dictations";

using Value = Database::Value;
using Row = Database::Row;

Value textOrNull(const std::optional<std::string>& text) {
  return text ? Value(*text) : Value(std::monostate());
}

std::optional<DictationRecord> decodeRecord(const Row& row) {
  DictationRecord record;
  record.id = row.text(0);
  record.text = row.text(1);
  record.words = row.integer(2);
  record.characters = row.integer(3);
  record.duration = row.real(4);
  record.createdAt = dateFromSeconds(row.real(5));
  record.targetBundleID = row.optionalText(6);
  record.targetApp = row.optionalText(7);
  record.delivery = deliveryFromRawValue(row.text(8)).value_or(DictationRecord::Delivery::none);
  record.savedNoteID = row.optionalText(9);
  record.rawText = row.optionalText(10);
  record.promptVersionTitle = row.optionalText(11);
  return record;
}

std::string selectRecords(std::string_view conditions) {
  return fmt::format("SELECT {} FROM dictations{}", recordColumns, conditions);
}

std::string containing(std::string_view query) {
  std::string pattern = "%";
  for (char character : query) {
    if (character == '\\' || character == '%' || character == '_') pattern += '\\';
    pattern += character;
  }
  return pattern + "%";
}

}  // namespace

DictationsRepository::DictationsRepository(Database& database, const WallClock& clock)
    : database_(database), clock_(clock) {}

DictationRecord DictationsRepository::record(NewDictation dictation) {
  DictationRecord record{.id = makeUuid(),
                         .text = std::move(dictation.text),
                         .words = dictation.words,
                         .characters = dictation.characters,
                         .duration = dictation.duration,
                         .createdAt = clock_.now(),
                         .targetBundleID = std::move(dictation.targetBundleID),
                         .targetApp = std::move(dictation.targetApp),
                         .delivery = DictationRecord::Delivery::none,
                         .savedNoteID = std::nullopt,
                         .rawText = std::move(dictation.rawText),
                         .promptVersionTitle = std::move(dictation.promptVersionTitle)};
  const std::vector<Value> parameters{record.id,
                                      record.text,
                                      record.words,
                                      record.characters,
                                      record.duration,
                                      secondsSince1970(record.createdAt),
                                      textOrNull(record.targetBundleID),
                                      textOrNull(record.targetApp),
                                      std::string(rawValue(record.delivery)),
                                      textOrNull(record.rawText),
                                      textOrNull(record.promptVersionTitle)};
  std::lock_guard turn(queue_);
  ++revision_;
  database_.run(insertSql, parameters);
  return record;
}

void DictationsRepository::setDelivery(const std::string& id, DictationRecord::Delivery delivery) {
  std::lock_guard turn(queue_);
  ++revision_;
  database_.run("UPDATE dictations SET delivery = ? WHERE id = ?", {std::string(rawValue(delivery)), id});
}

void DictationsRepository::setSavedNote(const std::string& id, const std::string& noteID) {
  std::lock_guard turn(queue_);
  ++revision_;
  database_.run("UPDATE dictations SET saved_note_id = ? WHERE id = ?", {noteID, id});
}

std::vector<DictationRecord> DictationsRepository::recent(int limit) {
  std::lock_guard turn(queue_);
  return database_.query(selectRecords(" ORDER BY created_at DESC LIMIT ?"), {std::int64_t{limit}},
                         decodeRecord);
}

std::vector<DictationRecord> DictationsRepository::search(std::string_view query, int limit) {
  const std::string_view wanted = trimmed(query);
  if (wanted.empty()) return recent(limit);
  std::lock_guard turn(queue_);
  const std::string sql = selectRecords(
      "\n WHERE text LIKE ? ESCAPE '\\'"
      "\n ORDER BY created_at DESC LIMIT ?");
  return database_.query(sql, {containing(wanted), std::int64_t{limit}}, decodeRecord);
}

void DictationsRepository::forEach(const std::function<void(const DictationRecord&)>& visit) {
  std::lock_guard turn(queue_);
  database_.query(selectRecords(" ORDER BY created_at"), {}, [&](const Row& row) {
    if (auto record = decodeRecord(row)) visit(*record);
    return std::optional<bool>();
  });
}

bool DictationsRepository::remove(const std::string& id) {
  std::lock_guard turn(queue_);
  ++revision_;
  return database_.runCountingChanges("DELETE FROM dictations WHERE id = ?", {id}) > 0;
}

void DictationsRepository::deleteAll() {
  std::lock_guard turn(queue_);
  ++revision_;
  database_.run("DELETE FROM dictations");
}

DictationsRepository::LocalStats DictationsRepository::stats(int days, const Calendar& calendar) {
  std::lock_guard turn(queue_);
  LocalStats stats;
  stats.byApp = database_.query(byAppSql, {}, [](const Row& row) {
    return std::optional(AppRow{
        .app = row.text(0), .bundleID = row.text(1), .dictations = row.integer(2), .words = row.integer(3)});
  });
  const double cutOff = secondsSince1970(clock_.now()) + days * -secondsPerDay;
  const auto daily = database_.query(dailySql, {cutOff}, [](const Row& row) {
    return std::optional(
        DayRow{.day = dateFromSeconds(row.real(0)), .words = row.integer(1), .dictations = row.integer(2)});
  });
  stats.daily = fillDailyGaps(daily, {.days = days, .now = clock_.now(), .calendar = calendar});
  database_.query(totalsSql, {}, [&](const Row& row) {
    stats.totalDictations = row.integer(0);
    stats.totalWords = row.integer(1);
    stats.totalSeconds = row.real(2);
    stats.recovered = row.integer(3);
    return std::optional<bool>();
  });
  return stats;
}

std::vector<DictationsRepository::DayRow> DictationsRepository::fillDailyGaps(const std::vector<DayRow>& rows,
                                                                              const Window& window) {
  const Calendar& calendar = window.calendar;
  std::map<Date, DayRow> known;
  for (const DayRow& row : rows) known[calendar.startOfDay(row.day)] = row;

  std::vector<DayRow> filled;
  const Date today = calendar.startOfDay(window.now);
  for (int offset = 1 - window.days; offset <= 0; ++offset) {
    const auto day = calendar.addingDays(today, offset);
    if (!day) continue;
    DayRow row{.day = *day};
    // A day that summer time robs of its midnight begins at one o'clock, and so do all days counted
    // from it: the key is the day's own beginning.
    if (auto found = known.find(calendar.startOfDay(*day)); found != known.end()) {
      row.words = found->second.words;
      row.dictations = found->second.dictations;
    }
    filled.push_back(row);
  }
  return filled;
}

}  // namespace pell
