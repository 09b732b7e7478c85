#include <gtest/gtest.h>
#include <map>

#include "platform/portable/StandardLocations.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

TEST(StandardLocationsTest, FollowsTheEnvironmentWhereItIsSane) {
  TemporaryDirectory directory;
  const auto runtime = (directory.path() / "runtime").string();
  const auto shared = (directory.path() / "shared").string();
  fs::create_directory(runtime);
  fs::permissions(runtime, fs::perms::owner_all);
  fs::create_directory(shared);
  fs::permissions(shared, fs::perms::all);

  struct Case {
    std::map<std::string, std::string> environment;
    std::string config;
    std::string data;
    std::string scratch;
  };
  const std::string home = "/home/somebody";
  const std::vector<Case> cases{
      {{{"HOME", home}}, home + "/.config", home + "/.local/share", "/tmp"},
      {{{"HOME", home}, {"XDG_CONFIG_HOME", "/c"}, {"XDG_DATA_HOME", "/d"}, {"XDG_RUNTIME_DIR", runtime}},
       "/c",
       "/d",
       runtime},
      {{{"HOME", home},
        {"XDG_CONFIG_HOME", ""},
        {"XDG_DATA_HOME", "relative/d"},
        {"XDG_RUNTIME_DIR", shared}},
       home + "/.config",
       home + "/.local/share",
       "/tmp"},
      {{{"HOME", home}, {"XDG_RUNTIME_DIR", runtime + "/gone"}, {"TMPDIR", shared}},
       home + "/.config",
       home + "/.local/share",
       shared},
  };
  for (const auto& one : cases) {
    StandardLocations found([&](const char* name) -> std::optional<std::string> {
      auto value = one.environment.find(name);
      return value == one.environment.end() ? std::nullopt : std::optional(value->second);
    });
    EXPECT_EQ(found.defaultsFile(), one.config + "/Pell/defaults.json");
    EXPECT_EQ(found.locations().applicationSupport, one.data);
    EXPECT_EQ(found.locations().scratch, one.scratch);
  }
}

TEST(StandardLocationsTest, FindsAHomeWithoutTheEnvironment) {
  StandardLocations found([](const char*) { return std::nullopt; });
  EXPECT_TRUE(found.configHome().is_absolute());
}

}  // namespace
}  // namespace pell::testing
