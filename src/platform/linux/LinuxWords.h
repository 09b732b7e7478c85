// The product's texts as a user of a Linux desktop reads them.
#pragma once

#include <span>
#include <string_view>

#include "platform/Words.h"

namespace pell {

struct LinuxWording {
  std::string_view product;  // exactly as it stands at its source
  std::string_view here;
};

/// Every text of the product that names keys or places of another platform.
std::span<const LinuxWording> linuxWordings();

/// Gives the wording of the table above, and any other text as it is. Any thread.
Words linuxWords();

}  // namespace pell
