// The user's preferences on disk.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace pell {

struct DefaultsData {
  std::string bytes;
  bool operator==(const DefaultsData&) const = default;
};

using DefaultsList = std::vector<std::string>;
using DefaultsDictionary = std::map<std::string, std::string>;

/// A stored value. Types are kept apart: what was written as an integer is no boolean.
using DefaultsValue =
    std::variant<bool, std::int64_t, double, std::string, DefaultsData, DefaultsList, DefaultsDictionary>;

/// Typed values under text keys, written through at every change. Main thread, but `get` of a single
/// key, which may be called from anywhere. Nothing here fails: what cannot be written is logged by the
/// adapter and kept in memory.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Absent when there is no such key, or when its stored value has no type of `DefaultsValue`.
  virtual std::optional<DefaultsValue> get(std::string_view key) const = 0;
  virtual void set(std::string_view key, DefaultsValue value) = 0;
  virtual void remove(std::string_view key) = 0;

  /// Of the type asked for, or absent.
  template <class T>
  std::optional<T> value(std::string_view key) const {
    auto stored = get(key);
    if (!stored) return std::nullopt;
    if (auto* typed = std::get_if<T>(&*stored)) return std::move(*typed);
    return std::nullopt;
  }
};

}  // namespace pell
