#pragma once

#include "app/CommandLine.h"

namespace pell {

/// Each does its command and gives the process's exit code.
int runNotesList(const NotesListCommand& command);
int runNotesShow(const NotesShowCommand& command);
int runNotesExport(const NotesExportCommand& command);
int runNotesImport(const NotesImportCommand& command);

/// Tells the running application that notes were added to the database.
inline constexpr const char* notesChangedWord = "notes-changed";

}  // namespace pell
