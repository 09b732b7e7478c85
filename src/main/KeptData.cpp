#include "main/KeptData.h"

#include "app/Printable.h"
#include "main/StandardStreams.h"

namespace pell {

bool isAnythingKept(const std::filesystem::path& database) {
  std::error_code unreadable;  // then the database says it better
  if (std::filesystem::exists(database, unreadable) || unreadable) return true;
  if (!std::filesystem::is_directory(database.parent_path(), unreadable)) {
    throw Database::Failure("its folder is not there and cannot be made");
  }
  return false;
}

int tellDamage(Database& database, const std::filesystem::path& file) {
  const auto damage = database.damage();
  if (!damage) return 0;
  return failWith(file.string() +
                  ": the file is damaged, and this is what can still be read: " + printable(*damage));
}

}  // namespace pell
