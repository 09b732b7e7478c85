#include <gtest/gtest.h>

#include "app/AppState.h"
#include "app/OnboardingFlow.h"
#include "app/OnboardingModel.h"
#include "support/MemoryUserDefaults.h"
#include "support/VirtualTime.h"

namespace pell::testing {
namespace {

using Screen = AppState::Screen;

class OnboardingFlowTest : public ::testing::Test {
 protected:
  OnboardingFlowTest() { state.screen = Screen::onboarding; }

  void coach(bool dismissible) {
    onboarding.setHUDCoaching(
        OnboardingModel::HUDCoaching{.title = "t", .subtitle = "s", .dismissible = dismissible});
  }
  bool isAt(const OnboardingStep& step) const { return onboarding.step() == step; }

  VirtualTime time;
  MemoryUserDefaults defaults;
  AppState state;
  OnboardingModel onboarding{defaults, time};
  int raised = 0;
  std::optional<OnboardingFlow> flow{std::in_place,
                                     OnboardingFlow::Collaborators{.state = state,
                                                                   .onboarding = onboarding,
                                                                   .main = time.main(),
                                                                   .bringToFront = [this] { ++raised; }}};
};

TEST_F(OnboardingFlowTest, EachOperationMovesOnFromItsOwnStepsAlone) {
  const std::vector<OnboardingStep> steps{step::Account{},          step::Microphone{},
                                          step::Accessibility{},    step::DictateInPell{},
                                          step::DictateElsewhere{}, step::Finish{}};
  struct Operation {
    const char* name;
    void (OnboardingFlow::*run)();
    std::vector<OnboardingStep> from;
    OnboardingStep to;
    int raises;
  };
  const std::vector<Operation> operations{
      {"in Pell",
       &OnboardingFlow::completeDictateInPell,
       {step::DictateInPell{}},
       step::DictateElsewhere{},
       0},
      {"elsewhere", &OnboardingFlow::completeDictateElsewhere, {step::DictateElsewhere{}}, step::Finish{}, 1},
      {"skip", &OnboardingFlow::skipGuidedDictation, steps, step::Finish{}, 0},
      {"dismiss", &OnboardingFlow::dismissOnboardingCoaching, {step::DictateElsewhere{}}, step::Finish{}, 1},
  };
  for (const auto& operation : operations) {
    for (const auto& step : steps) {
      for (auto screen : {Screen::onboarding, Screen::ready}) {
        SCOPED_TRACE(std::string(operation.name) + " from " + std::to_string(step.index()));
        state.screen = screen;
        raised = 0;
        onboarding.enter(step, true);
        coach(true);
        ((*flow).*operation.run)();
        const bool moves =
            screen == Screen::onboarding &&
            std::find(operation.from.begin(), operation.from.end(), step) != operation.from.end();
        EXPECT_TRUE(isAt(moves ? operation.to : step));
        EXPECT_EQ(raised, moves ? operation.raises : 0);
        // The first guided dictation is for new users; the end of the tour keeps who the user is.
        EXPECT_EQ(onboarding.isReturningUser(), !moves || isAt(step::Finish{}));
      }
    }
  }
}

TEST_F(OnboardingFlowTest, ABubbleThatIsNotDismissibleStays) {
  onboarding.enter(step::DictateElsewhere{}, false);
  flow->dismissOnboardingCoaching();
  EXPECT_TRUE(isAt(step::DictateElsewhere{})) << "no bubble, nothing to dismiss";
  coach(false);
  flow->dismissOnboardingCoaching();
  EXPECT_TRUE(onboarding.hudCoaching());
  EXPECT_TRUE(isAt(step::DictateElsewhere{}));
  coach(true);
  state.screen = Screen::ready;
  flow->dismissOnboardingCoaching();
  EXPECT_FALSE(onboarding.hudCoaching()) << "also in the repair case";
}

TEST_F(OnboardingFlowTest, AdvancesByItselfSixSecondsAfterTheLastCall) {
  onboarding.enter(step::DictateElsewhere{}, false);
  coach(true);
  flow->scheduleOnboardingAutoAdvance();
  time.advance(Seconds(5));
  flow->scheduleOnboardingAutoAdvance();
  time.advance(Seconds(5.9));
  EXPECT_TRUE(isAt(step::DictateElsewhere{}));
  time.advance(Seconds(0.1));
  EXPECT_TRUE(isAt(step::Finish{}));
  EXPECT_FALSE(onboarding.hudCoaching());
  EXPECT_EQ(raised, 1);

  // Whatever ends the step first ends the wait: a user who comes back to the step has all of it again.
  for (auto end : {&OnboardingFlow::completeDictateElsewhere, &OnboardingFlow::skipGuidedDictation}) {
    onboarding.enter(step::DictateElsewhere{}, false);
    flow->scheduleOnboardingAutoAdvance();
    time.advance(Seconds(3));
    ((*flow).*end)();
    onboarding.enter(step::DictateElsewhere{}, false);
    time.advance(Seconds(10));
    EXPECT_TRUE(isAt(step::DictateElsewhere{}));
  }
  flow->scheduleOnboardingAutoAdvance();
  state.screen = Screen::signedOut;
  time.advance(Seconds(6));
  EXPECT_TRUE(isAt(step::DictateElsewhere{})) << "the late firing changes nothing elsewhere";
  flow->scheduleOnboardingAutoAdvance();
  flow.reset();
  time.advance(Seconds(6));
}

TEST_F(OnboardingFlowTest, TheSavedStepStandsUntilTheOnboardingIsCompleted) {
  onboarding.enter(step::DictateInPell{}, false);
  flow->skipGuidedDictation();
  EXPECT_EQ(defaults.value<std::string>("onboardingStep"), "dictateInPell");
  state.section = AppSection::settings;
  flow->completeOnboarding();
  EXPECT_FALSE(defaults.get("onboardingStep"));
  EXPECT_TRUE(onboarding.completed());
  EXPECT_EQ(state.screen.get(), Screen::ready);
  EXPECT_EQ(state.section.get(), AppSection::dictation);
}

}  // namespace
}  // namespace pell::testing
