#include "app/HistoryList.h"

#include <map>
#include <utility>

#include "app/BannerTexts.h"
#include "app/NotesWorkflow.h"
#include "editor/DateLabels.h"
#include "editor/RichText.h"
#include "pipeline/TextInjector.h"
#include "stores/Log.h"
#include "stores/NotesRepository.h"

namespace pell {

HistoryList::HistoryList(Collaborators collaborators) : with_(std::move(collaborators)) {}

void HistoryList::setQuery(std::string query) {
  query_ = std::move(query);
  reload();
}

void HistoryList::reload() {
  if (!with_.dictations) return;
  try {
    records_ = with_.dictations->search(query_.get());
    reloadStats();
  } catch (const std::exception& failure) {
    with_.log.warn("history_read_failed", {{"reason", failure.what()}});
  }
}

void HistoryList::reloadStats() {
  const Calendar calendar = Calendar::current();
  StatsBasis basis{.revision = with_.dictations->revision(),
                   .calendar = calendar,
                   .today = calendar.startOfDay(with_.clock.now())};
  if (statsBasis_ == basis) return;
  stats_ = with_.dictations->stats(DictationsRepository::defaultDays, calendar);
  statsBasis_ = std::move(basis);
}

std::vector<DictationDay> HistoryList::days() const {
  const Region region{.calendar = Calendar::current(), .locale = with_.localeOfDates};
  DateLabels labels(region, with_.clock.now());
  std::vector<DictationDay> days;
  std::map<std::string, std::size_t> positions;
  for (const DictationRecord& record : records_.get()) {
    std::string label = labels.dayLabel(record.createdAt);
    const auto [position, isNew] = positions.try_emplace(label, days.size());
    if (isNew) days.push_back({.id = label, .title = label, .records = {}});
    days[position->second].records.push_back(record);
  }
  return days;
}

void HistoryList::copy(const DictationRecord& record) {
  with_.injector.copyToClipboard(record.text);
  with_.state.banner = with_.banners.copied;
}

void HistoryList::saveAsNote(const DictationRecord& record) {
  if (!with_.dictations || !with_.notes) return;
  act([&] {
    const std::string rtf = RichText::rtf(RichText::bodyParagraph(record.text));
    const Note note = with_.notes->create(rtf, record.text);
    with_.dictations->setSavedNote(record.id, note.id);
    with_.noteList.reloadNotes();
    reload();
    with_.state.banner = with_.banners.savedAsNote;
  });
}

void HistoryList::remove(const DictationRecord& record) {
  if (!with_.dictations) return;
  act([&] {
    with_.dictations->remove(record.id);
    reload();
  });
}

void HistoryList::clear() {
  if (!with_.dictations) return;
  act([&] {
    with_.dictations->deleteAll();
    reload();
    with_.state.banner = with_.banners.historyCleared;
  });
}

void HistoryList::act(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::exception& failure) {
    with_.state.banner = failure.what();
  }
}

}  // namespace pell
