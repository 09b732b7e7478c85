#include "stores/AppSettings.h"

#include <utility>

namespace pell {
namespace {

constexpr int loginItemEnabled = 1;
constexpr const char* seededKey = "styleRulesSeeded";
constexpr const char* seedVersionKey = "styleRulesSeedVersion";

template <class T>
typename Preference<T>::Loaded stored(UserDefaults& defaults, const char* key, T fallback) {
  return {.value = defaults.value<T>(key).value_or(std::move(fallback)),
          .store = [&defaults, key](const T& value) { defaults.set(key, value); }};
}

/// A choice that is stored by the name of its case; an unknown name stays in place until the next
/// assignment.
template <class T>
typename Preference<T>::Loaded storedChoice(UserDefaults& defaults, const char* key,
                                            std::optional<T> (*fromRawValue)(std::string_view), T fallback) {
  const std::string raw = defaults.value<std::string>(key).value_or("");
  return {.value = fromRawValue(raw).value_or(fallback),
          .store = [&defaults, key](const T& value) { defaults.set(key, std::string(rawValue(value))); }};
}

StyleSeeds::Rules supplemented(StyleSeeds::Rules rules, StyleSeeds::Table supplement,
                               std::int64_t version = 0) {
  const StyleSeeds::Upgrade upgrade{StyleSeeds::supplementVersion, supplement};
  return StyleSeeds::applyingSeedUpgrades(std::move(rules), version, {&upgrade, 1});
}

bool isSeeded(const UserDefaults& defaults) { return defaults.value<bool>(seededKey).value_or(false); }

/// A user who removed every rule has an empty map, and keeps it.
StyleSeeds::Rules rulesWhenAbsent(const UserDefaults& defaults, StyleSeeds::Rules seeds) {
  return isSeeded(defaults) ? StyleSeeds::Rules() : std::move(seeds);
}

}  // namespace

AppSettings::AppSettings(UserDefaults& defaults, LoginItem& loginItem, const Log& log,
                         Defaults::Table supplement)
    : loginItem_(loginItem),
      log_(log),
      language(stored<std::string>(defaults, "dictationLanguage", "multi")),
      trigger(storedChoice(defaults, "hotKeyTrigger", hotKeyTriggerFromRawValue, HotKeyTrigger::holdOption)),
      injectionMode(
          storedChoice(defaults, "injectionMode", injectionModeFromRawValue, InjectionMode::automatic)),
      showFloatingPanel(stored(defaults, "showFloatingPanel", true)),
      showDictationBar(stored(defaults, "showDictationBar", true)),
      playSounds(stored(defaults, "playSounds", true)),
      contextAwareStyles(stored(defaults, "contextAwareStyles", true)),
      contextAwareBrowserHost(stored(defaults, "contextAwareBrowserHost", false)),
      appStyleRules(stored(defaults, "appStyleRules",
                           rulesWhenAbsent(defaults, supplemented(Defaults::appStyleRules(), supplement)))),
      hostStyleRules(
          stored(defaults, "hostStyleRules", rulesWhenAbsent(defaults, Defaults::hostStyleRules()))),
      launchAtLogin_(loginItem.status() == loginItemEnabled) {
  seedStyleRules(defaults, supplement);
}

void AppSettings::seedStyleRules(UserDefaults& defaults, Defaults::Table supplement) {
  if (isSeeded(defaults)) {
    const std::int64_t version = defaults.value<std::int64_t>(seedVersionKey).value_or(0);
    hostStyleRules = Defaults::applyingSeedUpgrades(hostStyleRules, version, Defaults::seedUpgrades);
    appStyleRules =
        supplemented(Defaults::applyingSeedUpgrades(appStyleRules, version, Defaults::appSeedUpgrades),
                     supplement, version);
  } else {
    hostStyleRules = hostStyleRules.get();
    appStyleRules = appStyleRules.get();
  }
  defaults.set(seededKey, true);
  defaults.set(seedVersionKey, std::int64_t{Defaults::currentSeedVersion});
}

void AppSettings::setLaunchAtLogin(bool enabled) {
  if (const std::string reason = loginItem_.setRegistered(enabled); !reason.empty()) {
    log_.warn("login_item_failed", {{"reason", reason}});
  }
  const int status = loginItem_.status();
  launchAtLogin_ = status == loginItemEnabled;
  if (enabled && status != loginItemEnabled) {
    log_.warn("login_item_not_enabled", {{"status", std::to_string(status)}});
  }
}

void AppSettings::refreshLaunchAtLogin() { launchAtLogin_ = loginItem_.status() == loginItemEnabled; }

}  // namespace pell
