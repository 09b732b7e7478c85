#include "styles/StyleResolver.h"

#include <array>

#include "stores/Text.h"

namespace pell {
namespace {

using Rules = StyleResolver::Rules;

/// The style of today that a rule for `key` asks for.
std::optional<std::string> ruled(const std::map<std::string, std::string>& table,
                                 const std::optional<std::string>& key, const Rules& rules) {
  if (!key) return std::nullopt;
  const auto rule = table.find(*key);
  return rule == table.end() ? std::nullopt : rules.current(rule->second);
}

std::optional<std::string> known(const std::optional<std::string>& styleID, const Rules& rules) {
  return styleID ? rules.current(*styleID) : std::nullopt;
}

}  // namespace

std::optional<std::string> StyleResolver::Rules::current(const std::string& styleID) const {
  if (knownStyleIDs.contains(styleID)) return styleID;
  const auto successor = successors.find(styleID);
  if (successor != successors.end() && knownStyleIDs.contains(successor->second)) return successor->second;
  return std::nullopt;
}

StyleResolver::Resolution StyleResolver::resolve(const DictationContext& context, const Rules& rules) {
  if (auto style = known(rules.oneShotOverride, rules)) return {style, Source::override};
  if (rules.contextAware) {
    if (rules.useBrowserHost) {
      if (auto style = ruled(rules.hostRules, context.browserHost, rules))
        return {style, Source::browserHost};
    }
    if (auto style = ruled(rules.appRules, context.bundleID, rules)) return {style, Source::app};
  }
  if (auto style = known(rules.accountDefault, rules)) return {style, Source::account};
  return {std::nullopt, Source::serverDefault};
}

std::map<std::string, std::string> StyleResolver::successors(const std::vector<DictationStyle>& styles) {
  std::map<std::string, std::string> successors;
  for (const DictationStyle& style : styles) {
    if (!style.supersedes) continue;
    for (const std::string& retired : *style.supersedes) successors[retired] = style.id;
  }
  return successors;
}

std::optional<std::string> StyleResolver::normaliseHost(std::string_view text) {
  std::string host = lowercased(trimmed(text));
  if (host.empty() || host.find_first_of("/ ") != host.npos || host.find('.') == host.npos) {
    return std::nullopt;
  }
  if (host.starts_with("www.")) host.erase(0, 4);
  if (host.empty()) return std::nullopt;
  return host;
}

std::string_view rawValue(StyleResolver::Source source) {
  constexpr std::array<std::string_view, 5> names{"override", "browserHost", "app", "account",
                                                  "serverDefault"};
  return names[static_cast<std::size_t>(source)];
}

std::optional<std::string_view> label(StyleResolver::Source source) {
  switch (source) {
    case StyleResolver::Source::override:
      return "just this once";
    case StyleResolver::Source::browserHost:
      return "this site";
    case StyleResolver::Source::app:
      return "this app";
    case StyleResolver::Source::account:
    case StyleResolver::Source::serverDefault:
      break;
  }
  return std::nullopt;
}

}  // namespace pell
