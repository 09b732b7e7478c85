// Where the files lie that tests and benchmarks bring along.
#pragma once

#include <filesystem>

namespace pell::testing {

/// The checkout that this program was built in: what stands above its build folder. Asked at run time, as a
/// path in the source would keep clones from sharing the compiler's cache.
inline std::filesystem::path sourceTree() {
  auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  while (folder.has_relative_path() && !exists(folder / "CMakePresets.json")) folder = folder.parent_path();
  return folder;
}

}  // namespace pell::testing
