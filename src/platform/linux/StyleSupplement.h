// Rules for styles that only Linux has a use for.
#pragma once

#include <span>

#include "platform/StyleRule.h"

namespace pell {

/// The terminals, mail programs, office programs, editors and messengers of Linux, by the identifier under
/// which identifierOf knows them. Applications that exist on other platforms too go by their common
/// identifier and stand in the tables that every platform has.
std::span<const StyleRule> linuxStyleRules();

}  // namespace pell
