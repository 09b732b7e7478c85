#pragma once

#include <mutex>
#include <utility>

#include "platform/UserDefaults.h"
#include "platform/portable/JsonFile.h"

namespace pell {

/// Preferences in one JSON file, read once and written through by this object alone, so one may exist per
/// file. Values show in the file as what they are: `true`, `1`, `1.0`, `"text"`, `{"$data": "<base64>"}` for
/// bytes and an object of strings for a dictionary. Keys and values that mean nothing here stay in the file
/// as they are.
///
/// A damaged file counts as empty (`defaults_damaged` in the log) and is moved aside before the first change
/// is written. A value that cannot be written is kept in memory (`defaults_write_failed`, once per run of
/// failures), and the next change tries to write everything again.
class JsonUserDefaults final : public UserDefaults {
 public:
  JsonUserDefaults(std::filesystem::path file, const Log& log);

  std::optional<DefaultsValue> get(std::string_view key) const override;
  void set(std::string_view key, DefaultsValue value) override;
  void remove(std::string_view key) override;

 private:
  template <class Change>
  void change(Change&& change);

  JsonFile file_;
  std::mutex writing_;
  mutable std::mutex mutex_;  // guards `values_`; never held while the disk works
  JsonFile::Object values_;
  bool saved_ = true;
};

}  // namespace pell
