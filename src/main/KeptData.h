// What the commands ask of the local data before they take it for all there is.
#pragma once

#include <filesystem>

#include "stores/Database.h"

namespace pell {

/// Whether there is a database. Throws `Database::Failure` where its folder is not there and cannot be made:
/// then nobody can tell.
bool isAnythingKept(const std::filesystem::path& database);

/// Says on standard error what is wrong with the file. Gives the exit code, 0 if nothing is.
int tellDamage(Database& database, const std::filesystem::path& file);

}  // namespace pell
