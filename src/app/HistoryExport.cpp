#include "app/HistoryExport.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "app/HistoryListing.h"

namespace pell {
namespace {

constexpr std::string_view csvHeader =
    "id,created_at,text,words,characters,duration,target_bundle_id,target_app,delivery,saved_note_id,"
    "raw_text,prompt_version_title\r\n";

std::string field(std::string_view value) {
  if (value.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(value);
  std::string quoted = "\"";
  for (char c : value) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + '"';
}

std::string field(const std::optional<std::string>& value) {
  return value ? field(std::string_view(*value)) : "";
}

std::string csvLine(const DictationRecord& record) {
  const std::string fields[] = {record.id,
                                fmt::format("{:.3f}", secondsSince1970(record.createdAt)),
                                field(std::string_view(record.text)),
                                fmt::to_string(record.words),
                                fmt::to_string(record.characters),
                                fmt::to_string(record.duration),
                                field(record.targetBundleID),
                                field(record.targetApp),
                                std::string(rawValue(record.delivery)),
                                field(record.savedNoteID),
                                field(record.rawText),
                                field(record.promptVersionTitle)};
  return fmt::format("{}\r\n", fmt::join(fields, ","));
}

}  // namespace

std::string HistoryExport::begin() const {
  return format_ == ExportFormat::json ? "[" : std::string(csvHeader);
}

std::string HistoryExport::record(const DictationRecord& record) {
  if (format_ == ExportFormat::csv) return csvLine(record);
  const char* separator = isFirst_ ? "\n" : ",\n";
  isFirst_ = false;
  return separator + recordJson(record);
}

std::string HistoryExport::end() const {
  if (format_ == ExportFormat::csv) return "";
  return isFirst_ ? "]\n" : "\n]\n";
}

}  // namespace pell
