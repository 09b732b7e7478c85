// The bus's roles in the vocabulary of the accessibility port.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/linux/AtspiObject.h"

namespace pell {

/// A text that can hold several lines is a text area and not a text field, which only its states tell.
std::string_view accessibilityRole(std::uint32_t role, AtspiStates states);

bool isWindowRole(std::uint32_t role);

}  // namespace pell
