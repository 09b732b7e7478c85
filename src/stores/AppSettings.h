// The user's preferences.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "async/Observable.h"
#include "pipeline/HotKeyTrigger.h"
#include "pipeline/InjectionMode.h"
#include "platform/Services.h"
#include "platform/UserDefaults.h"
#include "stores/Log.h"
#include "stores/Preference.h"
#include "styles/StyleSeeds.h"

namespace pell {

/// One observable object over the user defaults: loaded once, written back at each assignment. Made once
/// and shared by reference. Main thread only; other threads are given values.
class AppSettings {
  LoginItem& loginItem_;
  const Log& log_;

 public:
  struct Language {
    std::string_view value;
    std::string_view label;
  };
  /// The choices offered for `language`.
  static constexpr std::array<Language, 2> languages{{{"multi", "EN + हिंदी"}, {"en", "English only"}}};

  /// The tables of rules that are shipped.
  using Defaults = StyleSeeds;
  using StyleRules = Defaults::Rules;

  /// Loads everything. Rules for styles are seeded on the first run, and brought up to the present tables
  /// on the first run of a version that has newer ones. `supplement` are the platform's rules for
  /// applications of its own; they come and are renewed like those of the tables.
  AppSettings(UserDefaults& defaults, LoginItem& loginItem, const Log& log, Defaults::Table supplement = {});

  Preference<std::string> language;
  Preference<HotKeyTrigger> trigger;
  Preference<InjectionMode> injectionMode;
  Preference<bool> showFloatingPanel;
  Preference<bool> showDictationBar;
  Preference<bool> playSounds;
  Preference<bool> contextAwareStyles;
  Preference<bool> contextAwareBrowserHost;
  Preference<StyleRules> appStyleRules;   // bundle identifier to style identifier
  Preference<StyleRules> hostStyleRules;  // host to style identifier

  /// Whether the platform starts the application at login, as it last said. Changed only by the two
  /// operations below; never stored.
  const Observable<bool>& launchAtLogin() const { return launchAtLogin_; }
  Subscription subscribeLaunchAtLogin(std::function<void()> listener) {
    return launchAtLogin_.subscribe(std::move(listener));
  }

  /// Asks the platform, then believes what the platform says. What went wrong is logged.
  void setLaunchAtLogin(bool enabled);

  /// Reads the platform's state again, since the user can change it elsewhere.
  void refreshLaunchAtLogin();

 private:
  void seedStyleRules(UserDefaults& defaults, Defaults::Table supplement);

  Observable<bool> launchAtLogin_;
};

}  // namespace pell
