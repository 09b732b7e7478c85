#include "app/AppModel.h"

#include "platform/UserDefaults.h"
#include "stores/AppConfig.h"

namespace pell {

AppModel::AppModel(Services services)
    : settings_(services.settings),
      texts_(services.words),
      reloadRule_(state_, services.log),
      store_(services.config.databaseURL(), services.clock, services.log),
      onboarding_(services.defaults, services.clock),
      banners_(state_, texts_, services.main),
      editor_(services.main),
      notes_({.state = state_,
              .onboarding = onboarding_,
              .editor = editor_,
              .repository = store_.notes(),
              .main = services.main,
              .clock = services.clock,
              .localeOfDates = services.localeOfDates}),
      onboardingFlow_({.state = state_,
                       .onboarding = onboarding_,
                       .main = services.main,
                       .bringToFront = services.bringToFront}),
      permissions_({.state = state_,
                    .onboarding = onboarding_,
                    .permissions = services.permissions,
                    .main = services.main,
                    .words = services.words,
                    .log = services.log,
                    .newNote = [this] { notes_.newNote(); },
                    .bringToFront = services.bringToFront}),
      relocation_({.installation = services.installation,
                   .main = services.main,
                   .makeSerialExecutor = services.makeSerialExecutor,
                   .log = services.log,
                   .quit = services.quit}),
      versionGate_(services.config.version(), services.log),
      history_({.state = state_,
                .dictations = store_.dictations(),
                .notes = store_.notes(),
                .noteList = notes_,
                .injector = services.injector,
                .banners = texts_,
                .clock = services.clock,
                .localeOfDates = services.localeOfDates,
                .log = services.log}),
      styles_(
          {.state = state_, .api = services.api, .defaults = services.defaults, .onFailure = reloadRule_}),
      usage_({.state = state_, .api = services.api, .onFailure = reloadRule_, .log = services.log}),
      session_({.state = state_,
                .api = services.api,
                .onboarding = onboarding_,
                .permissions = services.permissions,
                .permissionWatch = permissions_,
                .notes = notes_,
                .history = history_,
                .styles = styles_,
                .usage = usage_,
                .banners = texts_,
                .config = services.config,
                .main = services.main,
                .log = services.log}) {
  if (store_.failure()) state_.banner = store_.failure();
  // For development: where the window opens until a session decides.
  const auto section = services.defaults.value<std::string>("debugStartSection");
  if (section) state_.section = appSectionFromRawValue(*section).value_or(AppSection::dictation);
}

}  // namespace pell
