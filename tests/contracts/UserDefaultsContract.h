// What every UserDefaults does.
#pragma once

#include <limits>

#include "contracts/World.h"
#include "platform/UserDefaults.h"

namespace pell::testing {

class UserDefaultsWorld : public World {
 public:
  virtual UserDefaults& defaults() = 0;

  /// The program ends and starts again: another object over what the first one wrote.
  virtual void reopen() = 0;
};

class UserDefaultsContract : public Contract<UserDefaultsWorld> {};

TEST_P(UserDefaultsContract, KeepsValuesAndTheirTypesOverARestart) {
  const std::vector<std::pair<std::string, DefaultsValue>> values{
      {"bool.true", true},
      {"bool.false", false},
      {"integer.one", std::int64_t{1}},
      {"integer.zero", std::int64_t{0}},
      {"integer.least", std::numeric_limits<std::int64_t>::min()},
      {"integer.most", std::numeric_limits<std::int64_t>::max()},
      {"real.one", 1.0},
      {"real.tenth", 0.1},
      {"real.small", -5e-324},
      {"text.empty", std::string()},
      {"text.number", std::string("1")},
      {"text.unicode", std::string("héllo \"हिन्दी\"\n\t\\ 🎙")},
      {"data.empty", DefaultsData{}},
      {"data.bytes", DefaultsData{std::string("\x00\xFF\xC3(\n", 5)}},
      {"list.empty", DefaultsList{}},
      {"list.some", DefaultsList{"Work", "", "$data"}},
      {"map.empty", DefaultsDictionary{}},
      {"map.some", DefaultsDictionary{{"org.example.Mail", "formal"}, {"a \"b\"", ""}}},
      {"key with \"quotes\" / हि", std::int64_t{7}},
  };
  for (const auto& [key, value] : values) world().defaults().set(key, value);
  for (bool restarted : {false, true}) {
    if (restarted) world().reopen();
    for (const auto& [key, value] : values) {
      EXPECT_EQ(world().defaults().get(key), value) << key << (restarted ? " after the restart" : "");
    }
  }
}

TEST_P(UserDefaultsContract, GivesAValueOnlyAsTheTypeItHas) {
  world().defaults().set("one", std::int64_t{1});
  EXPECT_EQ(world().defaults().value<std::int64_t>("one"), 1);
  EXPECT_EQ(world().defaults().value<bool>("one"), std::nullopt);
  EXPECT_EQ(world().defaults().value<double>("one"), std::nullopt);
  EXPECT_EQ(world().defaults().value<std::string>("one"), std::nullopt);
}

TEST_P(UserDefaultsContract, ReplacesAndRemoves) {
  auto& defaults = world().defaults();
  EXPECT_EQ(defaults.get("key"), std::nullopt);
  defaults.remove("key");
  defaults.set("key", std::string("text"));
  defaults.set("key", true);
  defaults.set("other", std::string("stays"));
  EXPECT_EQ(defaults.get("key"), DefaultsValue(true));
  defaults.remove("key");
  EXPECT_EQ(defaults.get("key"), std::nullopt);
  world().reopen();
  EXPECT_EQ(world().defaults().get("key"), std::nullopt);
  EXPECT_EQ(world().defaults().get("other"), DefaultsValue(std::string("stays")));
}

}  // namespace pell::testing
