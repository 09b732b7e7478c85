// The history of dictations, kept on this machine alone.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Services.h"
#include "stores/Calendar.h"
#include "stores/Database.h"
#include "stores/DictationRecord.h"

namespace pell {

/// Every dictation is recorded the moment its text comes back and before any attempt to deliver it, so
/// that no words are lost. Any thread; operations run one after the other and the caller waits. All of
/// them throw `Database::Failure`.
class DictationsRepository {
 public:
  static constexpr int defaultLimit = 500;  // rows on one screen
  static constexpr int defaultDays = 90;    // window of the statistics

  DictationsRepository(Database& database, const WallClock& clock);

  struct NewDictation {
    std::string text;
    std::int64_t words = 0;
    std::int64_t characters = 0;
    double duration = 0;  // seconds of audio
    std::optional<std::string> targetBundleID;
    std::optional<std::string> targetApp;
    std::optional<std::string> rawText;
    std::optional<std::string> promptVersionTitle;
  };

  /// Saves a dictation with a new id, the present date and delivery `none`.
  DictationRecord record(NewDictation dictation);

  /// An unknown id is no error, here and in `setSavedNote`.
  void setDelivery(const std::string& id, DictationRecord::Delivery delivery);
  void setSavedNote(const std::string& id, const std::string& noteID);

  /// Newest first.
  std::vector<DictationRecord> recent(int limit = defaultLimit);

  /// The dictations whose text holds `query` (trimmed; case ignored as SQLite's LIKE does), newest
  /// first. A blank query gives the recent ones.
  std::vector<DictationRecord> search(std::string_view query, int limit = defaultLimit);

  /// Every dictation, oldest first, one at a time. `visit` must not throw, nor use the store.
  void forEach(const std::function<void(const DictationRecord&)>& visit);

  /// True if a row was removed. `remove` stands for the reserved word.
  bool remove(const std::string& id);
  void deleteAll();

  /// Moves whenever one of the operations above may have changed a row, so that what was worked out from
  /// the rows can be kept until then.
  std::uint64_t revision() const { return revision_; }

  struct AppRow {
    std::string app;
    std::string bundleID;
    std::int64_t dictations = 0;
    std::int64_t words = 0;
    bool operator==(const AppRow&) const = default;
  };
  struct DayRow {
    Date day{};
    std::int64_t words = 0;
    std::int64_t dictations = 0;
    bool operator==(const DayRow&) const = default;
  };
  struct LocalStats {
    std::vector<AppRow> byApp;   // over the whole history, most dictations first
    std::vector<DayRow> daily;   // every day of the window, oldest first
    std::int64_t recovered = 0;  // never delivered: words that would have been lost
    std::int64_t totalDictations = 0;
    std::int64_t totalWords = 0;
    double totalSeconds = 0;
    bool operator==(const LocalStats&) const = default;
  };

  /// Only `daily` is limited by `days`. SQLite counts days in the time zone of the C library; the
  /// calendar files them.
  LocalStats stats(int days = defaultDays, const Calendar& calendar = Calendar::current());

  struct Window {
    int days = defaultDays;
    Date now{};
    Calendar calendar;
  };
  /// One row for each day of the window that ends today, oldest first, zero where there is none.
  static std::vector<DayRow> fillDailyGaps(const std::vector<DayRow>& rows, const Window& window);

 private:
  Database& database_;
  const WallClock& clock_;
  std::mutex queue_;
  std::atomic<std::uint64_t> revision_ = 0;
};

}  // namespace pell
