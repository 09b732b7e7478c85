#include "platform/portable/JsonUserDefaults.h"

#include <limits>

namespace pell {
namespace {

using Json = JsonFile::Object;

constexpr const char* dataKey = "$data";

// Keys of a dictionary that begin with the sign of our tags get one more, so that no dictionary of the
// user's is ever taken for bytes.
std::string escaped(const std::string& key) { return key.starts_with('$') ? "$" + key : key; }
std::string unescaped(const std::string& key) { return key.starts_with("$$") ? key.substr(1) : key; }

struct Encoder {
  Json operator()(const DefaultsData& data) const { return {{dataKey, encodeBase64(data.bytes)}}; }
  Json operator()(const DefaultsDictionary& dictionary) const {
    auto object = Json::object();
    for (const auto& [key, text] : dictionary) object[escaped(key)] = text;
    return object;
  }
  template <class T>
  Json operator()(const T& plain) const {
    return plain;
  }
};

std::optional<DefaultsValue> decodeObject(const Json& object) {
  if (object.size() == 1 && object.contains(dataKey)) {
    const auto& text = object.front();
    if (!text.is_string()) return std::nullopt;
    auto bytes = decodeBase64(text.get_ref<const std::string&>());
    if (!bytes) return std::nullopt;
    return DefaultsData{std::move(*bytes)};
  }
  DefaultsDictionary dictionary;
  for (const auto& [key, text] : object.items()) {
    if (!text.is_string()) return std::nullopt;
    dictionary.emplace(unescaped(key), text.get<std::string>());
  }
  return dictionary;
}

std::optional<DefaultsValue> decodeArray(const Json& array) {
  DefaultsList list;
  for (const auto& text : array) {
    if (!text.is_string()) return std::nullopt;
    list.push_back(text.get<std::string>());
  }
  return list;
}

std::optional<DefaultsValue> decode(const Json& value) {
  switch (value.type()) {
    case Json::value_t::boolean:
      return value.get<bool>();
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::number_integer:
      return value.get<std::int64_t>();
    case Json::value_t::number_unsigned:
      if (value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()}) {
        return std::nullopt;
      }
      return value.get<std::int64_t>();
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::array:
      return decodeArray(value);
    case Json::value_t::object:
      return decodeObject(value);
    default:
      return std::nullopt;
  }
}

}  // namespace

JsonUserDefaults::JsonUserDefaults(std::filesystem::path file, const Log& log)
    : file_(std::move(file), "defaults", log), values_(file_.load()) {}

std::optional<DefaultsValue> JsonUserDefaults::get(std::string_view key) const {
  std::lock_guard lock(mutex_);
  auto found = values_.find(std::string(key));
  return found == values_.end() ? std::nullopt : decode(*found);
}

template <class Change>
void JsonUserDefaults::change(Change&& change) {
  std::lock_guard turn(writing_);
  Json copy;
  {
    std::lock_guard lock(mutex_);
    if (!change(values_) && saved_) return;
    copy = values_;
  }
  saved_ = file_.save(copy);
}

void JsonUserDefaults::set(std::string_view key, DefaultsValue value) {
  auto encoded = std::visit(Encoder{}, value);
  change([&](Json& values) {
    auto& stored = values[std::string(key)];
    // The types are compared too: to JSON's own equality 1 and 1.0 are the same.
    if (stored.type() == encoded.type() && stored == encoded) return false;
    stored = std::move(encoded);
    return true;
  });
}

void JsonUserDefaults::remove(std::string_view key) {
  change([&](Json& values) { return values.erase(std::string(key)) > 0; });
}

}  // namespace pell
