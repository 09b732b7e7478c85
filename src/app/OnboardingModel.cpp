#include "app/OnboardingModel.h"

#include <chrono>
#include <fmt/chrono.h>
#include <string_view>
#include <utility>

#include "platform/Services.h"
#include "platform/UserDefaults.h"

namespace pell {
namespace {

constexpr std::string_view completedKey = "onboardingCompletedAt";
constexpr std::string_view stepKey = "onboardingStep";

/// The two steps that are remembered, by the names under which they are stored.
constexpr std::string_view dictateInPell = "dictateInPell";
constexpr std::string_view dictateElsewhere = "dictateElsewhere";

/// ISO 8601 with whole seconds, in UTC: "2026-03-01T09:41:00Z".
std::string iso8601(Date date) {
  const auto second = std::chrono::floor<std::chrono::seconds>(date);
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(second.time_since_epoch().count()));
}

std::optional<OnboardingStep> rememberedStep(const UserDefaults& defaults) {
  const auto name = defaults.value<std::string>(stepKey);
  if (name == dictateElsewhere) return step::DictateElsewhere{};
  if (name == dictateInPell) return step::DictateInPell{};
  return std::nullopt;
}

}  // namespace

void OnboardingModel::enter(Step step, bool isReturningUser) {
  const bool changes = step != step_ || isReturningUser != isReturningUser_;
  step_ = std::move(step);
  isReturningUser_ = isReturningUser;
  if (std::holds_alternative<step::DictateInPell>(step_)) {
    defaults_.set(stepKey, std::string(dictateInPell));
  } else if (std::holds_alternative<step::DictateElsewhere>(step_)) {
    defaults_.set(stepKey, std::string(dictateElsewhere));
  }
  if (changes) listeners_.notify();
}

void OnboardingModel::setHUDCoaching(std::optional<HUDCoaching> coaching) {
  const bool changes = coaching != hudCoaching_;
  hudCoaching_ = std::move(coaching);
  if (onHUDCoachingChanged) onHUDCoachingChanged();
  if (changes) listeners_.notify();
}

bool OnboardingModel::completed() const { return defaults_.get(completedKey).has_value(); }

void OnboardingModel::markCompleted() {
  defaults_.set(completedKey, iso8601(clock_.now()));
  defaults_.remove(stepKey);
}

OnboardingModel::Entry OnboardingModel::decideEntry(const Facts& facts) const {
  return decideEntry(facts, {.completed = completed(), .savedDictationStep = rememberedStep(defaults_)});
}

OnboardingModel::Entry OnboardingModel::decideEntry(const Facts& facts, const Remembered& remembered) {
  if (!facts.hasSession) {
    if (remembered.completed) return SignedOut{};
    return Onboarding{.step = step::Account{}};
  }
  if (!facts.hasMicrophone) {
    const auto state = facts.hasMicrophoneDevice ? PermissionState::explaining : PermissionState::noDevice;
    return Onboarding{.step = step::Microphone{state}};
  }
  if (!facts.hasAccessibility) return Onboarding{.step = step::Accessibility{PermissionState::explaining}};
  if (remembered.completed) return Ready{};
  if (!facts.hasEverDictated) return Onboarding{.step = step::DictateInPell{}};
  if (remembered.savedDictationStep == Step(step::DictateElsewhere{})) {
    return Onboarding{.step = step::DictateElsewhere{}};
  }
  return Onboarding{.step = step::Finish{}, .isReturningUser = true};
}

}  // namespace pell
