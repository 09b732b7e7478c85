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
    std::string scratch = "/tmp";
    std::string config = "/h/.config", data = "/h/.local/share";
  };
  const std::vector<Case> cases{
      {{}},
      {{{"XDG_CONFIG_HOME", "/c"}, {"XDG_DATA_HOME", "/d"}, {"XDG_RUNTIME_DIR", runtime}},
       runtime,
       "/c",
       "/d"},
      {{{"XDG_CONFIG_HOME", ""}, {"XDG_DATA_HOME", "relative/d"}, {"XDG_RUNTIME_DIR", shared}}},
      {{{"XDG_RUNTIME_DIR", runtime + "/gone"}, {"TMPDIR", shared}}, shared},
  };
  for (const auto& [environment, scratch, config, data] : cases) {
    StandardLocations found([&, &given = environment](const char* name) -> std::optional<std::string> {
      if (std::string(name) == "HOME") return "/h";
      auto value = given.find(name);
      return value == given.end() ? std::nullopt : std::optional(value->second);
    });
    EXPECT_EQ(found.defaultsFile(), config + "/Pell/defaults.json");
    EXPECT_EQ(found.locations().applicationSupport, data);
    EXPECT_EQ(found.locations().scratch, scratch);
  }
  StandardLocations homeless([](const char*) { return std::nullopt; });
  EXPECT_TRUE(homeless.configHome().is_absolute());
}

}  // namespace
}  // namespace pell::testing
