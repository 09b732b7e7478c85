#include <gtest/gtest.h>

#include "stores/AppSettings.h"
#include "support/MemoryLog.h"
#include "support/MemoryServices.h"
#include "support/MemoryUserDefaults.h"

namespace pell {
namespace {

class AppSettingsTest : public ::testing::Test {
 protected:
  testing::MemoryUserDefaults defaults;
  testing::MemoryLoginItem loginItem;
  testing::MemoryLog sink;
  Log log{sink};
};

TEST_F(AppSettingsTest, RulesAreSeededOnce) {
  // Rules that were there before the first seeding are the user's.
  defaults.set("appStyleRules", DefaultsDictionary{{"com.apple.Notes", "mine"}});
  {
    AppSettings settings(defaults, loginItem, log);
    EXPECT_EQ(settings.appStyleRules.get(), (AppSettings::StyleRules{{"com.apple.Notes", "mine"}}));
    EXPECT_EQ(settings.hostStyleRules.get(), StyleSeeds::hostStyleRules());
    settings.hostStyleRules = {};
    settings.appStyleRules = {{"com.microsoft.VSCode", "mine"}};
  }
  const AppSettings later(defaults, loginItem, log);
  EXPECT_TRUE(later.hostStyleRules.get().empty());
  EXPECT_EQ(later.appStyleRules.get(), (AppSettings::StyleRules{{"com.microsoft.VSCode", "mine"}}));
}

TEST_F(AppSettingsTest, WhatWasChosenIsThereAfterARestart) {
  {
    AppSettings settings(defaults, loginItem, log);
    settings.language = "xx";
    settings.trigger = HotKeyTrigger::toggleControlOptionSpace;
    settings.injectionMode = InjectionMode::copyOnly;
    for (auto* on : {&settings.showFloatingPanel, &settings.showDictationBar, &settings.playSounds,
                     &settings.contextAwareStyles}) {
      *on = false;
    }
    settings.contextAwareBrowserHost = true;
    settings.appStyleRules = {{"a", "b"}};
    settings.hostStyleRules = {{"c.d", "e"}};
  }
  EXPECT_EQ(defaults.value<std::string>("hotKeyTrigger"), "toggleControlOptionSpace");
  EXPECT_EQ(defaults.value<bool>("playSounds"), false);
  testing::MemoryUserDefaults later(defaults.storage());
  const AppSettings settings(later, loginItem, log);
  EXPECT_EQ(settings.language.get(), "xx");
  EXPECT_EQ(settings.trigger.get(), HotKeyTrigger::toggleControlOptionSpace);
  EXPECT_EQ(settings.injectionMode.get(), InjectionMode::copyOnly);
  EXPECT_FALSE(settings.showFloatingPanel || settings.showDictationBar || settings.playSounds ||
               settings.contextAwareStyles);
  EXPECT_TRUE(settings.contextAwareBrowserHost);
  EXPECT_EQ(settings.appStyleRules.get(), (AppSettings::StyleRules{{"a", "b"}}));
  EXPECT_EQ(settings.hostStyleRules.get(), (AppSettings::StyleRules{{"c.d", "e"}}));
}

TEST_F(AppSettingsTest, ValuesOfAnotherKindCountAsAbsentAndStay) {
  defaults.set("dictationLanguage", true);
  defaults.set("hotKeyTrigger", std::string("holdShift"));
  defaults.set("injectionMode", std::int64_t{1});
  defaults.set("playSounds", std::string("no"));
  defaults.set("contextAwareStyles", std::int64_t{0});
  const auto before = *defaults.storage();
  const AppSettings settings(defaults, loginItem, log);
  EXPECT_EQ(settings.language.get(), "multi");
  EXPECT_EQ(settings.trigger.get(), HotKeyTrigger::holdOption);
  EXPECT_EQ(settings.injectionMode.get(), InjectionMode::automatic);
  EXPECT_TRUE(settings.playSounds && settings.contextAwareStyles);
  for (const auto& [key, value] : before) EXPECT_EQ(defaults.get(key), value) << key;
}

TEST_F(AppSettingsTest, EqualAssignmentStoresAndTellsNobody) {
  AppSettings settings(defaults, loginItem, log);
  int told = 0;
  std::string stored;
  const auto subscription = settings.language.subscribe([&] {
    ++told;
    stored = defaults.value<std::string>("dictationLanguage").value_or("nothing");
  });
  const int before = defaults.writes;
  settings.language = "multi";
  EXPECT_EQ(told, 0);
  EXPECT_EQ(defaults.writes, before + 1);
  settings.language = "en";
  EXPECT_EQ(told, 1);
  EXPECT_EQ(stored, "en");  // stored before anyone hears of it
}

TEST_F(AppSettingsTest, LoginItemIsWhatThePlatformSays) {
  AppSettings settings(defaults, loginItem, log);
  int told = 0;
  const auto subscription = settings.subscribeLaunchAtLogin([&] { ++told; });
  settings.setLaunchAtLogin(true);
  EXPECT_TRUE(settings.launchAtLogin());
  EXPECT_TRUE(sink.lines().empty());

  loginItem.registered = false;  // by the user, elsewhere
  EXPECT_TRUE(settings.launchAtLogin());
  settings.refreshLaunchAtLogin();
  EXPECT_FALSE(settings.launchAtLogin());
  EXPECT_EQ(told, 2);

  loginItem.failure = "not allowed";
  settings.setLaunchAtLogin(true);
  EXPECT_FALSE(settings.launchAtLogin());
  EXPECT_EQ(told, 2);
  EXPECT_EQ(sink.events(),
            (std::vector<std::string>{"WARN login_item_failed", "WARN login_item_not_enabled"}));
  EXPECT_EQ(sink.lines()[0]["reason"], "not allowed");
  EXPECT_EQ(sink.lines()[1]["status"], "0");

  loginItem.registered = true;
  settings.setLaunchAtLogin(false);
  EXPECT_TRUE(settings.launchAtLogin());
  EXPECT_EQ(sink.count("login_item_not_enabled"), 1u);
}

}  // namespace
}  // namespace pell
