#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace pell::localserver {

/// Makes a folder that only its owner may enter, and what leads to it; one that is there keeps its mode, as
/// it may hold other things. Throws std::system_error.
void makePrivateFolder(const std::filesystem::path& folder);

/// Puts a whole file in place at once, readable and writable by its owner alone. Throws std::system_error.
void writePrivateFile(const std::filesystem::path& file, std::string_view content);

}  // namespace pell::localserver
