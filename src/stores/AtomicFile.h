#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace pell {

/// Replaces the content of a private file: whoever reads it, after a crash or a full disk too, finds the old
/// content or the new one, whole. The file gets mode 0600; its folder belongs to the product, is made if
/// missing and gets mode 0700. A symbolic link is followed and stays. One writer at a time. Any thread.
std::error_code replacePrivateFile(const std::filesystem::path& file, std::string_view content);

}  // namespace pell
