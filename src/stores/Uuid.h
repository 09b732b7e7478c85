#pragma once

#include <string>

namespace pell {

/// A new random identifier in its usual text form, upper case: version 4, variant RFC 4122.
/// Throws only on a machine without any source of random numbers. Any thread.
std::string makeUuid();

}  // namespace pell
