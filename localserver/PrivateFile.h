#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace pell::localserver {

/// Puts a whole file in place at once, readable and writable by its owner alone. Throws std::system_error.
void writePrivateFile(const std::filesystem::path& file, std::string_view content);

}  // namespace pell::localserver
