// Strict reading of JSON replies. For implementation files: it brings in the JSON library.
#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pell {

/// The text is no JSON, or a required key is missing or of another type.
class WireMismatch : public std::exception {
 public:
  const char* what() const noexcept override { return "reply of another shape"; }
};

/// A JSON object whose fields are asked for by name. Unlisted keys are ignored. A type reads from it
/// through a function `decode(const WireObject&, T&)` beside it.
class WireObject {
 public:
  explicit WireObject(const nlohmann::json& json) : json_(json) {
    if (!json.is_object()) throw WireMismatch();
  }

  template <class T>
  void required(const char* key, T& field) const;

  /// A missing key and a null both leave the field absent.
  template <class T>
  void optional(const char* key, std::optional<T>& field) const;

 private:
  const nlohmann::json& json_;
};

namespace wire {

void read(const nlohmann::json& json, std::string& value);
void read(const nlohmann::json& json, bool& value);

/// A number with a fraction, or beyond 64 bits, is no integer.
void read(const nlohmann::json& json, std::int64_t& value);
void read(const nlohmann::json& json, double& value);

template <class T>
void read(const nlohmann::json& json, T& value) {
  decode(WireObject(json), value);
}

template <class T>
void read(const nlohmann::json& json, std::vector<T>& list) {
  if (!json.is_array()) throw WireMismatch();
  list.reserve(json.size());
  for (const auto& element : json) read(element, list.emplace_back());
}

template <class T>
void read(const nlohmann::json& json, std::map<std::string, T>& map) {
  if (!json.is_object()) throw WireMismatch();
  for (const auto& [key, value] : json.items()) read(value, map[key]);
}

template <class T>
void read(const nlohmann::json& json, std::optional<T>& value) {
  if (json.is_null()) return;
  read(json, value.emplace());
}

nlohmann::json parse(std::string_view text);

}  // namespace wire

template <class T>
void WireObject::required(const char* key, T& field) const {
  auto found = json_.find(key);
  if (found == json_.end()) throw WireMismatch();
  wire::read(*found, field);
}

template <class T>
void WireObject::optional(const char* key, std::optional<T>& field) const {
  if (auto found = json_.find(key); found != json_.end()) wire::read(*found, field);
}

/// The value that `text` holds; throws `WireMismatch`.
template <class T>
T decodeWire(std::string_view text) {
  T value{};
  wire::read(wire::parse(text), value);
  return value;
}

}  // namespace pell
