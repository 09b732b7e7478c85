#include "app/StyleSync.h"

#include <algorithm>
#include <utility>

#include "platform/UserDefaults.h"
#include "server/ApiClient.h"
#include "server/Wire.h"
#include "stores/AppSettings.h"

namespace pell {
namespace {

constexpr std::string_view stylesKey = "cachedCleanupStyles";
constexpr std::string_view serverDefaultKey = "cachedCleanupServerDefault";
constexpr std::string_view groupsKey = "cachedCleanupStyleGroups";

}  // namespace

StyleSync::StyleSync(Collaborators collaborators) : with_(std::move(collaborators)) {}

std::vector<StyleCatalogue::Group> StyleSync::groupedStyles() const {
  return StyleCatalogue::grouped(styles_.get(), groupOrder_.get());
}

std::optional<DictationStyle> StyleSync::style(const std::string& id) const {
  const auto& styles = styles_.get();
  const auto found = std::ranges::find(styles, id, &DictationStyle::id);
  return found == styles.end() ? std::nullopt : std::optional(*found);
}

void StyleSync::loadCached() {
  if (const auto cached = with_.defaults.value<DefaultsData>(stylesKey)) {
    try {
      styles_ = decodeWire<std::vector<DictationStyle>>(cached->bytes);
    } catch (const WireMismatch&) {
      // The next answer of the server writes it anew.
    }
  }
  serverDefault_ = with_.defaults.value<std::string>(serverDefaultKey);
  groupOrder_ = with_.defaults.value<DefaultsList>(groupsKey).value_or(DefaultsList{});
}

Task<void> StyleSync::reload() {
  if (!with_.state.account.get()) co_return;
  try {
    auto catalogue = co_await with_.api.cleanupStyles();
    apply(std::move(catalogue));
  } catch (const std::exception& failure) {
    with_.onFailure.failed(failure, "styles_fetch_failed");
  }
}

void StyleSync::apply(CleanupStyleCatalogue catalogue) {
  styles_ = std::move(catalogue.styles);
  serverDefault_ = catalogue.serverDefault;
  groupOrder_ = std::move(catalogue.groups).value_or(std::vector<std::string>{});
  with_.defaults.set(stylesKey, DefaultsData{encodeStyles(styles_.get())});
  with_.defaults.set(serverDefaultKey, std::move(catalogue.serverDefault));
  with_.defaults.set(groupsKey, groupOrder_.get());
}

Task<void> StyleSync::setCleanupEnabled(bool enabled) {
  std::optional<Account> account = with_.state.account.get();
  if (!account) co_return;
  try {
    const bool stored = co_await with_.api.setCleanupEnabled(enabled);
    account->cleanupEnabled = stored;
    with_.state.account = std::move(account);
  } catch (const std::exception& failure) {
    with_.onFailure.failed(failure, "cleanup_preference_failed");
  }
}

Task<void> StyleSync::setAccountStyle(std::optional<std::string> styleID) {
  std::optional<Account> account = with_.state.account.get();
  if (!account) co_return;
  try {
    auto stored = co_await with_.api.setCleanupPromptVersion(std::move(styleID));
    account->cleanupPromptVersion = std::move(stored);
    with_.state.account = std::move(account);
  } catch (const std::exception& failure) {
    with_.onFailure.failed(failure, "style_preference_failed");
  }
}

StyleResolver::Rules StyleSync::currentRules(const AppSettings& settings) const {
  const auto& account = with_.state.account.get();
  StyleResolver::Rules rules{
      .contextAware = settings.contextAwareStyles,
      .useBrowserHost = settings.contextAwareBrowserHost,
      .appRules = settings.appStyleRules,
      .hostRules = settings.hostStyleRules,
      .accountDefault = account ? account->cleanupPromptVersion : std::nullopt,
      .oneShotOverride = oneShotOverride_.get(),
      .knownStyleIDs = {},
      .successors = StyleResolver::successors(styles_.get()),
  };
  for (const DictationStyle& style : styles_.get()) rules.knownStyleIDs.insert(style.id);
  return rules;
}

}  // namespace pell
