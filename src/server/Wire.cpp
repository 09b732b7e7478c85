#include "server/Wire.h"

#include <cmath>
#include <limits>

namespace pell::wire {

void read(const nlohmann::json& json, std::string& value) {
  if (!json.is_string()) throw WireMismatch();
  value = json.get_ref<const std::string&>();
}

void read(const nlohmann::json& json, bool& value) {
  if (!json.is_boolean()) throw WireMismatch();
  value = json.get<bool>();
}

void read(const nlohmann::json& json, std::int64_t& value) {
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) throw WireMismatch();
    value = static_cast<std::int64_t>(number);
  } else if (json.is_number_integer()) {
    value = json.get<std::int64_t>();
  } else {
    // A whole number that a server writes as 60.0 is still whole, as far as it was read exactly.
    constexpr double limit = 9007199254740992.0;
    double number = 0;
    read(json, number);
    if (number != std::trunc(number) || std::abs(number) > limit) throw WireMismatch();
    value = static_cast<std::int64_t>(number);
  }
}

void read(const nlohmann::json& json, double& value) {
  if (!json.is_number()) throw WireMismatch();
  value = json.get<double>();
}

nlohmann::json parse(std::string_view text) {
  nlohmann::json json = nlohmann::json::parse(text, nullptr, false);
  if (json.is_discarded()) throw WireMismatch();
  return json;
}

}  // namespace pell::wire
