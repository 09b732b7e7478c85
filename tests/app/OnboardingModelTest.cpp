#include <gtest/gtest.h>
#include <vector>

#include "app/OnboardingModel.h"
#include "support/MemoryUserDefaults.h"
#include "support/VirtualTime.h"

namespace pell::testing {
namespace {

using Facts = OnboardingModel::Facts;
using Entry = OnboardingModel::Entry;
using Onboarding = OnboardingModel::Onboarding;
using SignedOut = OnboardingModel::SignedOut;
using Ready = OnboardingModel::Ready;

class OnboardingModelTest : public ::testing::Test {
 protected:
  void store(std::string_view key, DefaultsValue value) { defaults.set(key, std::move(value)); }
  std::optional<std::string> stored(std::string_view key) const { return defaults.value<std::string>(key); }

  VirtualTime time;
  MemoryUserDefaults defaults;
  OnboardingModel model{defaults, time};
};

TEST_F(OnboardingModelTest, DecidesWhereAUserEnters) {
  constexpr auto explaining = PermissionState::explaining;
  const Entry account = Onboarding{step::Account{}};
  const Entry microphone = Onboarding{step::Microphone{explaining}};
  const Entry noDevice = Onboarding{step::Microphone{PermissionState::noDevice}};
  const Entry accessibility = Onboarding{step::Accessibility{explaining}};
  const Entry inPell = Onboarding{step::DictateInPell{}};
  const Entry elsewhere = Onboarding{step::DictateElsewhere{}};
  const Entry returning = Onboarding{step::Finish{}, true};

  struct Case {
    const char* name;
    const char* facts;  // session, Microphone, Device, Accessibility, Words: a letter for each that is there
    bool completed;
    const char* saved;  // at "onboardingStep"; empty for none
    Entry entry;
  };
  const std::vector<Case> cases{
      {"no session, completed", "mdaw", true, "", SignedOut{}},
      {"no session, nothing else either", "", false, "", account},
      {"no session looks at nothing else", "mdaw", false, "dictateElsewhere", account},
      {"microphone not allowed", "sdaw", false, "dictateElsewhere", microphone},
      {"microphone revoked long after", "sdaw", true, "", microphone},
      {"nothing to record from", "saw", false, "", noDevice},
      {"the same long after", "saw", true, "", noDevice},
      {"a device that is away is no lost permission", "smaw", true, "", Ready{}},
      {"accessibility off", "smd", false, "", accessibility},
      {"accessibility off wins over the saved step", "smdw", false, "dictateElsewhere", accessibility},
      {"accessibility revoked long after", "smdw", true, "", accessibility},
      {"completed", "smda", true, "dictateElsewhere", Ready{}},
      {"first dictation", "smda", false, "", inPell},
      {"first dictation, whatever is saved", "smda", false, "dictateElsewhere", inPell},
      {"resumed", "smdaw", false, "dictateElsewhere", elsewhere},
      {"dictated on another machine", "smdaw", false, "", returning},
      {"a saved first step has no effect", "smdaw", false, "dictateInPell", returning},
      {"an unknown step is none", "smdaw", false, "finish", returning},
  };
  for (const auto& [name, letters, completed, saved, entry] : cases) {
    SCOPED_TRACE(name);
    MemoryUserDefaults fresh;
    if (completed) fresh.set("onboardingCompletedAt", std::string());
    if (*saved) fresh.set("onboardingStep", std::string(saved));
    const std::string_view there(letters);
    const Facts facts{.hasSession = there.find('s') != there.npos,
                      .hasMicrophone = there.find('m') != there.npos,
                      .hasMicrophoneDevice = there.find('d') != there.npos,
                      .hasAccessibility = there.find('a') != there.npos,
                      .hasEverDictated = there.find('w') != there.npos};
    EXPECT_TRUE(OnboardingModel(fresh, time).decideEntry(facts) == entry);
  }
}

TEST_F(OnboardingModelTest, RemembersTheGuidedStepsUntilItIsCompleted) {
  int changes = 0;
  auto observation = model.observe([&] {
    ++changes;
    EXPECT_EQ(model.isReturningUser(), std::holds_alternative<step::Finish>(model.step()));
  });
  model.enter(step::Microphone{PermissionState::blocked}, false);
  EXPECT_FALSE(stored("onboardingStep")) << "the state of a permission is looked up again";
  model.enter(step::DictateInPell{}, false);
  EXPECT_EQ(stored("onboardingStep"), "dictateInPell");
  model.enter(step::DictateElsewhere{}, false);
  model.enter(step::DictateElsewhere{}, false);
  model.enter(step::Finish{}, true);
  EXPECT_EQ(stored("onboardingStep"), "dictateElsewhere");
  EXPECT_EQ(changes, 4) << "once for each change, with step and user both in place";

  EXPECT_FALSE(model.completed());
  time.setDate(dateFromSeconds(1'772'358'060.75));
  model.markCompleted();
  EXPECT_TRUE(model.completed());
  EXPECT_EQ(stored("onboardingCompletedAt"), "2026-03-01T09:41:00Z");
  EXPECT_FALSE(stored("onboardingStep"));
}

TEST_F(OnboardingModelTest, TellsThePanelOfEveryCoaching) {
  std::vector<bool> told;
  model.onHUDCoachingChanged = [&] { told.push_back(model.hudCoaching().has_value()); };
  model.setHUDCoaching(OnboardingModel::HUDCoaching{.title = "Hold ⌥ and speak"});
  model.setHUDCoaching(std::nullopt);
  model.setHUDCoaching(std::nullopt);
  EXPECT_EQ(told, (std::vector<bool>{true, false, false}));
}

}  // namespace
}  // namespace pell::testing
