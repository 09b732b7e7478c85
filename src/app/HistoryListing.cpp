#include "app/HistoryListing.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <ranges>

#include "app/Printable.h"

namespace pell {
namespace {

using nlohmann::json;

json optional(const std::optional<std::string>& text) { return text ? json(*text) : json(nullptr); }

json object(const DictationRecord& record) {
  return {{"id", record.id},
          {"text", record.text},
          {"words", record.words},
          {"characters", record.characters},
          {"duration", record.duration},
          {"created_at", secondsSince1970(record.createdAt)},
          {"target_bundle_id", optional(record.targetBundleID)},
          {"target_app", optional(record.targetApp)},
          {"delivery", rawValue(record.delivery)},
          {"saved_note_id", optional(record.savedNoteID)},
          {"raw_text", optional(record.rawText)},
          {"prompt_version_title", optional(record.promptVersionTitle)}};
}

std::string dump(const json& value, int indent) {
  return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

}  // namespace

std::string historyText(const std::vector<DictationRecord>& records, const TimeLabel& time) {
  std::string result;
  for (const DictationRecord& record : std::views::reverse(records)) {
    std::string app = record.targetApp ? " · " + printable(*record.targetApp) : "";
    result += fmt::format("{}  {} {} · {}{}\n{}\n\n", time(record.createdAt), record.words,
                          record.words == 1 ? "word" : "words", label(record.delivery), app,
                          printable(record.text));
  }
  return result;
}

std::string historyJson(const std::vector<DictationRecord>& records) {
  json list = json::array();
  for (const DictationRecord& record : records) list.push_back(object(record));
  return dump(list, 2) + "\n";
}

std::string recordJson(const DictationRecord& record) { return dump(object(record), -1); }

}  // namespace pell
