#include "app/NotesListing.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <ranges>

#include "app/Printable.h"

namespace pell {

using nlohmann::json;

std::string notesText(const std::vector<NoteSummary>& notes, const TimeLabel& time) {
  std::string result;
  for (const NoteSummary& note : std::views::reverse(notes)) {
    result += fmt::format("{}  {}  {}\n", printable(note.id), time(note.createdAt), printable(note.title));
  }
  return result;
}

std::string notesJson(const std::vector<NoteSummary>& notes) {
  json list = json::array();
  for (const NoteSummary& note : notes) {
    list.push_back({{"id", note.id},
                    {"title", note.title},
                    {"preview", note.preview},
                    {"text", note.text},
                    {"created_at", secondsSince1970(note.createdAt)},
                    {"updated_at", secondsSince1970(note.updatedAt)}});
  }
  return list.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace pell
