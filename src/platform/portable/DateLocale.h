// In whose manner dates are written.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace pell {

/// The locale that the user's environment sets for dates (LC_ALL, LC_TIME, LANG; the first that is set
/// counts), as ICU names it: "de_DE", "sr_Latn_RS". Where none is set, plain English.
std::string localeOfDates(const std::function<std::optional<std::string>(const char* name)>& environment);

/// The same, of this process. Not while another thread changes the environment.
std::string localeOfDates();

}  // namespace pell
