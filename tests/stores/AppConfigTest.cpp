#include <gtest/gtest.h>
#include <sys/stat.h>

#include "stores/AppConfig.h"
#include "support/MemoryUserDefaults.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

TEST(AppConfigTest, WhichServerIsAsked) {
  const std::string stamped = "https://api.example.com";
  const std::string home = "http://127.0.0.1:8787";
  struct Case {
    std::string name;
    std::optional<DefaultsValue> setting;
    std::optional<std::string> stamped;
    bool allowed;
    std::string url;
    bool overridden;
  };
  const std::vector<Case> cases{
      {"nothing stamped", {}, {}, true, home, false},
      {"setting without a stamp", "https://house.example", {}, true, "https://house.example", false},
      {"setting not allowed", "https://house.example", stamped, false, stamped, false},
      {"setting allowed", "https://house.example", stamped, true, "https://house.example", true},
      {"setting equal to the stamp", stamped, stamped, true, stamped, false},
      {"setting with blanks", "https://my house.example", stamped, true, stamped, false},
      {"empty setting", "", stamped, true, stamped, false},
      {"setting of another type", std::int64_t{5}, stamped, true, stamped, false},
      {"stamp that does not parse", {}, "https://exa mple", true, home, true},
  };
  for (const Case& c : cases) {
    testing::MemoryUserDefaults defaults;
    if (c.setting) defaults.set("apiBaseURL", *c.setting);
    const BuildInfo build{.apiBaseUrl = c.stamped,
                          .allowsApiOverride = c.allowed,
                          .developmentBuild = false,
                          .shortVersion = {},
                          .bundleIdentifier = {}};
    const AppConfig config(build, {}, defaults);
    EXPECT_EQ(config.apiBaseURL(), c.url) << c.name;
    EXPECT_EQ(config.apiBaseURLIsOverridden(), c.overridden) << c.name;
  }
}

TEST(AppConfigTest, SupportDirectoryIsMadeAndTightened) {
  const testing::TemporaryDirectory directory;
  const testing::MemoryUserDefaults defaults;
  const Locations locations{.applicationSupport = directory.path() / "a" / "b", .scratch = {}};
  const AppConfig config({}, locations, defaults);
  for (int time = 0; time < 2; ++time) {
    const auto made = config.supportDirectory();
    EXPECT_EQ(made, locations.applicationSupport / "Pell");
    struct stat info {};
    ASSERT_EQ(stat(made.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700u);
    std::filesystem::permissions(made, std::filesystem::perms(0755));
  }
  EXPECT_NO_THROW(AppConfig::restrict(directory.path() / "missing"));
}

}  // namespace
}  // namespace pell
