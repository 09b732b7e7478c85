// What the user keeps on this machine.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "stores/DictationsRepository.h"
#include "stores/NotesRepository.h"

namespace pell {

class Log;

/// The notes and the history of dictations, in one file over one connection. Where that cannot be opened
/// there is neither, and the program runs without.
class LocalStore {
 public:
  LocalStore(const std::filesystem::path& file, const WallClock& clock, const Log& log);
  LocalStore(const LocalStore&) = delete;
  LocalStore& operator=(const LocalStore&) = delete;

  NotesRepository* notes() { return notes_ ? &*notes_ : nullptr; }
  DictationsRepository* dictations() { return dictations_ ? &*dictations_ : nullptr; }

  /// Why there is neither.
  const std::optional<std::string>& failure() const { return failure_; }

 private:
  std::optional<NotesRepository> notes_;
  std::optional<DictationsRepository> dictations_;
  std::optional<std::string> failure_;
};

}  // namespace pell
