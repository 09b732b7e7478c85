#include "stores/NotesRepository.h"

#include <string_view>
#include <utility>

#include "editor/NoteFormatting.h"
#include "stores/Uuid.h"

namespace pell {
namespace {

using Row = Database::Row;

constexpr std::string_view listSql =
    "SELECT id, title, text, created_at, updated_at FROM notes ORDER BY created_at DESC, rowid DESC";
constexpr std::string_view noteSql =
    "SELECT id, title, rtf, text, created_at, updated_at FROM notes WHERE id = ?";
constexpr std::string_view insertSql =
    "INSERT INTO notes (id, title, rtf, text, created_at, updated_at) VALUES (?, ?, ?, ?, ?, ?)";
constexpr std::string_view updateSql =
    "UPDATE notes SET title = ?, rtf = ?, text = ?, updated_at = ? WHERE id = ?";

std::optional<NoteSummary> decodeSummary(const Row& row) {
  NoteSummary summary{.id = row.text(0), .title = row.text(1), .preview = {}, .text = row.text(2)};
  summary.preview = NoteFormatting::preview(summary.text);
  summary.createdAt = dateFromSeconds(row.real(3));
  summary.updatedAt = dateFromSeconds(row.real(4));
  return summary;
}

std::optional<Note> decodeNote(const Row& row) {
  return Note{.id = row.text(0),
              .title = row.text(1),
              .rtf = row.data(2),
              .text = row.text(3),
              .createdAt = dateFromSeconds(row.real(4)),
              .updatedAt = dateFromSeconds(row.real(5))};
}

}  // namespace

NotesRepository::NotesRepository(const std::filesystem::path& file, const WallClock& clock)
    : owned_(std::make_unique<Database>(file)), database_(*owned_), clock_(clock) {}

NotesRepository::NotesRepository(Database& database, const WallClock& clock)
    : database_(database), clock_(clock) {}

std::vector<NoteSummary> NotesRepository::list() {
  std::lock_guard turn(queue_);
  return database_.query(listSql, {}, decodeSummary);
}

std::optional<Note> NotesRepository::note(const std::string& id) {
  std::lock_guard turn(queue_);
  auto notes = database_.query(noteSql, {id}, decodeNote);
  if (notes.empty()) return std::nullopt;
  return std::move(notes.front());
}

Note NotesRepository::create(std::string rtf, std::string text) {
  const Date now = clock_.now();
  Note note{.id = makeUuid(),
            .title = NoteFormatting::title(text),
            .rtf = std::move(rtf),
            .text = std::move(text),
            .createdAt = now,
            .updatedAt = now};
  const double date = secondsSince1970(now);
  std::lock_guard turn(queue_);
  database_.run(insertSql, {note.id, note.title, Database::Blob{note.rtf}, note.text, date, date});
  return note;
}

std::optional<Note> NotesRepository::update(const std::string& id, std::string rtf, std::string text) {
  std::lock_guard turn(queue_);
  const auto created = database_.query("SELECT created_at FROM notes WHERE id = ?", {id},
                                       [](const Row& row) { return std::optional(row.real(0)); });
  if (created.empty()) return std::nullopt;
  Note note{.id = id,
            .title = NoteFormatting::title(text),
            .rtf = std::move(rtf),
            .text = std::move(text),
            .createdAt = dateFromSeconds(created.front()),
            .updatedAt = clock_.now()};
  database_.run(updateSql,
                {note.title, Database::Blob{note.rtf}, note.text, secondsSince1970(note.updatedAt), id});
  return note;
}

bool NotesRepository::remove(const std::string& id) {
  std::lock_guard turn(queue_);
  return database_.runCountingChanges("DELETE FROM notes WHERE id = ?", {id}) > 0;
}

}  // namespace pell
