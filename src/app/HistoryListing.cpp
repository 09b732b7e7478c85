#include "app/HistoryListing.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <ranges>

namespace pell {
namespace {

using nlohmann::json;

/// A dictated text may hold an escape sequence; the terminal is not to obey it.
std::string printable(std::string_view text) {
  std::string result;
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isControl = (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
    if (isControl) {
      result += fmt::format("\\x{:02x}", byte);
    } else {
      result += c;
    }
  }
  return result;
}

json optional(const std::optional<std::string>& text) { return text ? json(*text) : json(nullptr); }

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
  for (const DictationRecord& record : records) {
    list.push_back({{"id", record.id},
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
                    {"prompt_version_title", optional(record.promptVersionTitle)}});
  }
  return list.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace pell
