#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace pell {

/// Gives the platform's wording of one of the product's texts, where the text names another platform's
/// keys or places; any other text comes back as it is. Texts are wrapped at their source, before values
/// are joined to them, so that nothing of the user's ever passes through here.
using Words = std::function<std::string(std::string_view text)>;

}  // namespace pell
