// The fonts that Qt finds.
#pragma once

#include <string_view>

namespace pell {

/// The first question reads which there are, as the first text that is drawn would. Main thread.
bool hasFontFamily(std::string_view family);

}  // namespace pell
