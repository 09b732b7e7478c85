#include "main/NotesCommands.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sys/stat.h>

#include "app/NoteFiles.h"
#include "app/NotesListing.h"
#include "app/Printable.h"
#include "main/Commands.h"
#include "main/ControlClient.h"
#include "main/Essentials.h"
#include "main/KeptData.h"
#include "main/StandardStreams.h"
#include "stores/NotesRepository.h"

namespace pell {
namespace {

namespace fs = std::filesystem;

constexpr Seconds noticeLimit{2};
constexpr std::size_t largestImport = 64'000'000;  // bytes
constexpr std::size_t pieceSize = 65'536;
constexpr int mostNamesakes = 10'000;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string systemReason() { return std::generic_category().message(errno); }

/// Calls `work` with the notes, or with nothing where there never were any. Gives the exit code.
int withNotes(bool create, const std::function<int(NotesRepository* notes)>& work) {
  Essentials essentials;
  const auto file = essentials.config().databaseURL();
  try {
    if (!create && !isAnythingKept(file)) return work(nullptr);
    NotesRepository notes(file, essentials.clock());
    return work(&notes);
  } catch (const Database::Failure& failure) {
    return failWith(file.string() + ": " + failure.message());
  }
}

/// Likewise for all of the notes: that a damaged file does not give them all is told.
int withAllNotes(const std::function<int(NotesRepository* notes)>& work) {
  return withNotes(false, [&](NotesRepository* notes) {
    const int code = work(notes);
    return notes ? std::max(code, tellDamage(notes->connection(), "pell.db")) : code;
  });
}

int withNote(const std::string& id, const std::function<int(const Note& note)>& work) {
  return withNotes(false, [&](NotesRepository* notes) {
    const std::optional<Note> note = notes ? notes->note(id) : std::nullopt;
    return note ? work(*note)
                : failWith("there is no note '" + printable(id) + "'; 'pell notes list' has their ids");
  });
}

/// Makes a file that was not there, and says what hinders it.
std::optional<std::string> writeNew(const fs::path& path, const std::string& content, bool& isTaken) {
  const File file(std::fopen(path.c_str(), "wxe"));
  isTaken = !file && errno == EEXIST;
  if (!file) return systemReason();
  const bool isWritten = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
  if (isWritten && std::fflush(file.get()) == 0) return std::nullopt;
  const std::string reason = systemReason();
  fs::remove(path);  // half a note is none
  return reason;
}

/// Into the current folder. The name of the file, on standard output. Gives the exit code.
int exportToFile(const Note& note, NoteFormat format) {
  const std::string content = NoteFiles::content(note, format);
  for (int attempt = 1; attempt <= mostNamesakes; ++attempt) {
    const std::string name = NoteFiles::fileName(note, format, attempt);
    bool isTaken = false;
    const auto refusal = writeNew(name, content, isTaken);
    if (!refusal) return printOut(name + "\n");
    if (!isTaken) return failWith(name + ": " + *refusal);
  }
  return failWith("too many files are called '" + NoteFiles::fileName(note, format, 1) + "' here");
}

int exportAll(NotesRepository* notes, NoteFormat format) {
  if (!notes) return 0;
  int worst = 0;
  for (const NoteSummary& summary : notes->list()) {
    const auto note = notes->note(summary.id);
    worst = std::max(worst, note ? exportToFile(*note, format)
                                 : failWith(printable(summary.title) + ": it is gone or cannot be read"));
  }
  return worst;
}

/// The file's bytes, or why there are none.
std::variant<std::string, NoteFiles::Refusal> readFile(const std::string& path) {
  const File file(std::fopen(path.c_str(), "rbe"));
  if (!file) return NoteFiles::Refusal{systemReason()};
  std::string bytes;
  for (std::size_t count = 1; count > 0;) {
    const std::size_t size = bytes.size();
    bytes.resize(size + pieceSize);
    count = std::fread(bytes.data() + size, 1, pieceSize, file.get());
    bytes.resize(size + count);
    if (bytes.size() > largestImport) return NoteFiles::Refusal{"it is larger than 64 MB"};
  }
  if (std::ferror(file.get())) return NoteFiles::Refusal{systemReason()};
  return bytes;
}

std::variant<NoteFiles::Content, NoteFiles::Refusal> readNote(const std::string& path) {
  auto bytes = readFile(path);
  if (auto* refusal = std::get_if<NoteFiles::Refusal>(&bytes)) return *refusal;
  return NoteFiles::read(std::get<std::string>(bytes));
}

/// Prints its new id. Another file may fare better where this one is not taken.
int import(NotesRepository& notes, NoteFiles::Content content, const std::string& path) {
  try {
    return printOut(notes.create(std::move(content.rtf), std::move(content.text)).id + "\n");
  } catch (const Database::Failure& failure) {
    return failWith(printable(path) + ": not imported: " + failure.message());
  }
}

}  // namespace

int runNotesList(const NotesListCommand& command) {
  return withAllNotes([&](NotesRepository* notes) {
    const std::vector<NoteSummary> list = notes ? notes->list() : std::vector<NoteSummary>();
    return printOut(command.json ? notesJson(list) : notesText(list, localTime));
  });
}

int runNotesShow(const NotesShowCommand& command) {
  return withNote(command.id, [](const Note& note) {
    const std::string text = NoteFiles::content(note, NoteFormat::text);
    return printOut(printable(text) + (text.ends_with('\n') ? "" : "\n"));
  });
}

int runNotesExport(const NotesExportCommand& command) {
  if (!command.id) {
    return withAllNotes([&](NotesRepository* notes) { return exportAll(notes, command.format); });
  }
  return withNote(*command.id,
                  [&](const Note& note) { return printOut(NoteFiles::content(note, command.format)); });
}

int runNotesImport(const NotesImportCommand& command) {
  const int code = withNotes(true, [&](NotesRepository* notes) {
    int worst = 0;
    for (const std::string& path : command.files) {
      auto read = readNote(path);
      if (const auto* refusal = std::get_if<NoteFiles::Refusal>(&read)) {
        worst = failWith(printable(path) + ": not imported: " + refusal->reason);
        continue;
      }
      worst = std::max(worst, import(*notes, std::move(std::get<NoteFiles::Content>(read)), path));
    }
    return worst;
  });
  // Its list of notes was read before; where none runs, nobody has to be told.
  askRunningInstance(controlSocket(), {.command = notesChangedWord}, noticeLimit);
  return code;
}

}  // namespace pell
