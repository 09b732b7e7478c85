// The cleanup styles and the account's two preferences about them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/AppState.h"
#include "app/ReloadRule.h"
#include "async/Task.h"
#include "styles/DictationStyle.h"
#include "styles/StyleCatalogue.h"
#include "styles/StyleResolver.h"

namespace pell {

class ApiClient;
class AppSettings;
class UserDefaults;

/// Keeps the server's catalogue in memory and, for the start of the next run, in the user defaults; sends the
/// account's preferences to the server; puts together the rules that a dictation resolves its style by.
/// Failures follow the `ReloadRule`: at most a setting does not stick.
///
/// Main thread only. Of two changes in flight the one that is answered last wins.
class StyleSync {
 public:
  struct Collaborators {
    AppState& state;
    ApiClient& api;
    UserDefaults& defaults;
    ReloadRule onFailure;
  };

  explicit StyleSync(Collaborators collaborators);

  /// In the server's order.
  const Observable<std::vector<DictationStyle>>& styles() const { return styles_; }
  const Observable<std::optional<std::string>>& serverDefaultStyleID() const { return serverDefault_; }
  const Observable<std::vector<std::string>>& groupOrder() const { return groupOrder_; }
  std::vector<StyleCatalogue::Group> groupedStyles() const;

  /// The first of the catalogue with that identifier.
  std::optional<DictationStyle> style(const std::string& id) const;

  /// What the run before left. Damaged bytes leave the styles alone.
  void loadCached();

  /// Asks the server, if somebody is signed in.
  Task<void> reload();

  /// Each shows in the account what the server says it stored.
  Task<void> setCleanupEnabled(bool enabled);
  Task<void> setAccountStyle(std::optional<std::string> styleID);

  /// A style for the next dictation alone; a sign-out does not clear it.
  const Observable<std::optional<std::string>>& oneShotOverride() const { return oneShotOverride_; }
  void setOneShotOverride(std::optional<std::string> styleID) { oneShotOverride_ = std::move(styleID); }

  StyleResolver::Rules currentRules(const AppSettings& settings) const;

 private:
  void apply(CleanupStyleCatalogue catalogue);

  Collaborators with_;
  Observable<std::vector<DictationStyle>> styles_;
  Observable<std::optional<std::string>> serverDefault_;
  Observable<std::vector<std::string>> groupOrder_;
  Observable<std::optional<std::string>> oneShotOverride_;
};

}  // namespace pell
