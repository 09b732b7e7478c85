#include "stores/LocalStore.h"

#include "stores/Log.h"

namespace pell {

LocalStore::LocalStore(const std::filesystem::path& file, const WallClock& clock, const Log& log) {
  try {
    notes_.emplace(file, clock);
    dictations_.emplace(notes_->connection(), clock);
  } catch (const Database::Failure& failure) {
    failure_ = failure.message();
    log.error("store_unavailable", {{"reason", failure.message()}, {"file", file.string()}});
  }
}

}  // namespace pell
