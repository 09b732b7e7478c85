// The tables of the database, and how those of an earlier version become them.
#pragma once

#include <cstdint>
#include <string>

namespace pell::localserver {

/// The version that this program writes; an empty database has version 0.
std::int64_t latestSchema();

/// SQL that turns a database of `version` - 1 into one of `version`, from 1 to `latestSchema()`, the number
/// itself included.
std::string migrationTo(std::int64_t version);

}  // namespace pell::localserver
