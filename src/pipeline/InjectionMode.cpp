#include "pipeline/InjectionMode.h"

#include <cstddef>

namespace pell {

namespace {

struct ModeNames {
  std::string_view rawValue;
  std::string_view label;
};

constexpr std::array modeNames{
    ModeNames{"automatic", "Type into the app I'm using"},
    ModeNames{"paste", "Paste into the app I'm using"},
    ModeNames{"copyOnly", "Copy to the clipboard only"},
};
static_assert(modeNames.size() == allInjectionModes.size());

const ModeNames& namesOf(InjectionMode mode) { return modeNames[static_cast<std::size_t>(mode)]; }

}  // namespace

std::string_view rawValue(InjectionMode mode) { return namesOf(mode).rawValue; }

std::optional<InjectionMode> injectionModeFromRawValue(std::string_view raw) {
  for (auto mode : allInjectionModes) {
    if (rawValue(mode) == raw) return mode;
  }
  return std::nullopt;
}

std::string_view label(InjectionMode mode) { return namesOf(mode).label; }

std::string describe(const InjectionOutcome& outcome) {
  struct Describe {
    std::string operator()(const injection::Inserted&) const { return "inserted"; }
    std::string operator()(const injection::Pasted&) const { return "pasted"; }
    std::string operator()(const injection::Copied&) const { return "copied"; }
    std::string operator()(const injection::Failed& failed) const {
      return "failed(\"" + failed.message + "\")";
    }
  };
  return std::visit(Describe{}, outcome);
}

}  // namespace pell
