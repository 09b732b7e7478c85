#include "app/AppTranslocation.h"

#include <array>
#include <fmt/format.h>

#include "stores/Text.h"

namespace pell {

namespace fs = std::filesystem;

namespace {

fs::path standardised(const fs::path& url) {
  const fs::path normal = url.lexically_normal();
  return normal.has_filename() ? normal : normal.parent_path();
}

}  // namespace

Placement AppTranslocation::current(const Installation& installation) {
  return installation.placement.value_or(placement(installation.bundle));
}

Placement AppTranslocation::placement(const fs::path& url) {
  const fs::path path = standardised(url);
  if (path.native().find(marker) != std::string::npos) return Placement::translocated;
  return path.parent_path() == applicationsDirectory ? Placement::applications : Placement::elsewhere;
}

AppTranslocation::Move AppTranslocation::copyToApplications(ApplicationMover& mover, const fs::path& source) {
  const fs::path target = fs::path(applicationsDirectory) / standardised(source).filename();
  if (mover.exists(target)) return AlreadyInstalled{target};
  const auto exit = mover.run("/usr/bin/ditto", {source.string(), target.string()});
  if (exit.launchFailure) return CopyFailed{*exit.launchFailure};
  if (exit.status == 0) return target;
  std::string text;
  if (isUtf8(exit.standardError)) text = trimmed(exit.standardError);
  if (text.empty()) text = fmt::format("ditto exited {}", exit.status);
  return CopyFailed{std::move(text)};
}

std::string_view rawValue(Placement placement) {
  constexpr std::array<std::string_view, 3> names{"translocated", "applications", "elsewhere"};
  return names[static_cast<std::size_t>(placement)];
}

}  // namespace pell
