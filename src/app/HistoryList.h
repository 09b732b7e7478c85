// The history of dictations as the screens show it.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/AppState.h"
#include "stores/DictationsRepository.h"

namespace pell {

struct BannerTexts;
class Log;
class NotesRepository;
class NotesWorkflow;
class TextInjector;

/// Keeps the searchable list and the statistics over it, and carries out what the user does with a
/// record. Without a store there is nothing to list and nothing to do, but what is on show can still be
/// copied. Failed reads are logged and leave what was shown; failed actions go to the banner.
///
/// Main thread only; the store is asked synchronously.
class HistoryList {
 public:
  struct Collaborators {
    AppState& state;
    DictationsRepository* dictations;  // null without a store
    NotesRepository* notes;            // likewise
    NotesWorkflow& noteList;
    TextInjector& injector;
    const BannerTexts& banners;
    const WallClock& clock;
    std::string localeOfDates;
    const Log& log;
  };

  explicit HistoryList(Collaborators collaborators);

  const Observable<std::string>& query() const { return query_; }
  /// Reads the list again, whatever the query was before.
  void setQuery(std::string query);

  /// What matches the query, newest first, at most `DictationsRepository::defaultLimit`.
  const Observable<std::vector<DictationRecord>>& records() const { return records_; }

  /// Over the whole history, whatever the query. Absent until they were read.
  const Observable<std::optional<DictationsRepository::LocalStats>>& stats() const { return stats_; }

  /// Reads the list, and the statistics if a row changed or the day turned since they were last read.
  void reload();

  /// The list by days, in the order in which the days first occur. Worked out at each call, as the labels
  /// turn over at midnight.
  std::vector<DictationDay> days() const;

  void copy(const DictationRecord& record);
  /// The open note stays open.
  void saveAsNote(const DictationRecord& record);
  void remove(const DictationRecord& record);
  /// Whether the user meant it is asked elsewhere.
  void clear();

 private:
  /// What the statistics were worked out from.
  struct StatsBasis {
    std::uint64_t revision = 0;
    Calendar calendar;
    Date today{};
    bool operator==(const StatsBasis&) const = default;
  };

  void reloadStats();
  void act(const std::function<void()>& action);

  Collaborators with_;
  Observable<std::string> query_;
  Observable<std::vector<DictationRecord>> records_;
  Observable<std::optional<DictationsRepository::LocalStats>> stats_;
  std::optional<StatsBasis> statsBasis_;
};

}  // namespace pell
