// The offer to move a copy of the application that runs from a temporary place.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>

namespace pell {

namespace relocation {
struct Offer {
  bool operator==(const Offer&) const = default;
};
/// The copy is under way, or done and about to be opened.
struct Working {
  bool operator==(const Working&) const = default;
};
struct AlreadyInstalled {
  std::filesystem::path url;  // the copy that stands in the way
  bool operator==(const AlreadyInstalled&) const = default;
};
struct Failed {
  std::string message;
  bool operator==(const Failed&) const = default;
};
}  // namespace relocation

using RelocationState =
    std::variant<relocation::Offer, relocation::Working, relocation::AlreadyInstalled, relocation::Failed>;

/// One and the same while the sheet only changes what it says.
inline std::string_view sheetId(const RelocationState& state) {
  constexpr std::array<std::string_view, 4> ids{"offer", "working", "already-installed", "failed"};
  return ids[state.index()];
}

}  // namespace pell
