// Who an application is, under the identifiers that the rest of the program uses.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "platform/linux/DesktopEntries.h"

namespace pell {

/// The identifier under which an application goes on every platform, where it exists on several; else the
/// one given. Upper and lower case are the same.
std::string commonIdentifier(std::string_view linuxIdentifier);

/// The window's identifier: the application's own, else its desktop entry's, else its window class.
std::string identifierOf(const WindowIdentity& window, const DesktopEntry* entry);

/// The identifiers, as `identifierOf` gives them, of browsers that have none in common with other platforms.
std::set<std::string> linuxBrowsers();

/// True for the browser engines whose text fields answer an insertion with success and stay as they are.
/// `programFolder` is where the executable lies; what ships beside it tells the engine.
bool hasDeafTextFields(const WindowIdentity& window, const std::filesystem::path& programFolder);

/// How a window takes text from the clipboard.
enum class PasteStyle {
  controlV,
  controlShiftV,  // terminals, where Ctrl+V is input
  shiftInsert,    // terminals that know the primary selection only
};

PasteStyle pasteStyleOf(const WindowIdentity& window, const DesktopEntry* entry);

}  // namespace pell
