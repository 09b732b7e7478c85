// The user's notes, kept on this machine alone.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Services.h"
#include "stores/Database.h"
#include "stores/Note.h"

namespace pell {

/// Each note is kept as rich bytes for the editor and as plain text for lists, previews and counts; titles
/// are made of the text at every save. Any thread; operations run one after the other and the caller waits.
/// All of them throw `Database::Failure`.
class NotesRepository {
 public:
  /// Opens or creates the database.
  NotesRepository(const std::filesystem::path& file, const WallClock& clock);

  /// Uses a connection that is open already, and that must outlive this.
  NotesRepository(Database& database, const WallClock& clock);

  /// The connection, to be shared with the history.
  Database& connection() const { return database_; }

  /// Newest created first; of one instant, the later insertion first.
  std::vector<NoteSummary> list();

  std::optional<Note> note(const std::string& id);

  Note create(std::string rtf, std::string text);

  /// Absent, with nothing written, if no note has that id.
  std::optional<Note> update(const std::string& id, std::string rtf, std::string text);

  /// True if a row was removed. `remove` stands for the reserved word. Dictations that were saved to the
  /// note keep its id.
  bool remove(const std::string& id);

 private:
  std::unique_ptr<Database> owned_;  // none if the connection is another's
  Database& database_;
  const WallClock& clock_;
  std::mutex queue_;
};

}  // namespace pell
