#include "stores/AppSettings.h"

#include <utility>

namespace pell {
namespace {

constexpr int loginItemEnabled = 1;

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

}  // namespace

AppSettings::AppSettings(UserDefaults& defaults, LoginItem& loginItem, const Log& log)
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
      appStyleRules(stored(defaults, "appStyleRules", StyleRules())),
      hostStyleRules(stored(defaults, "hostStyleRules", StyleRules())),
      launchAtLogin_(loginItem.status() == loginItemEnabled) {}

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
