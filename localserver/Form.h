#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace pell::localserver {

/// The fields of an "application/x-www-form-urlencoded" body as an object of strings; of several with one
/// name the first. Throws Refusal where they are no UTF-8.
nlohmann::json parseForm(const std::string& text);

}  // namespace pell::localserver
