// Which cleanup style to ask for. Pure: everything it needs comes in.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "styles/DictationContext.h"
#include "styles/DictationStyle.h"

namespace pell {

class StyleResolver {
 public:
  struct Rules {
    bool contextAware = false;
    bool useBrowserHost = false;
    std::map<std::string, std::string> appRules;   // bundle identifier to style
    std::map<std::string, std::string> hostRules;  // host in normal form to style
    std::optional<std::string> accountDefault;
    std::optional<std::string> oneShotOverride;
    std::set<std::string> knownStyleIDs;            // the catalogue of today
    std::map<std::string, std::string> successors;  // retired style to the one that replaces it
    bool operator==(const Rules&) const = default;

    static const Rules empty;

    /// The identifier to use today for one that was saved earlier: itself while the catalogue has it,
    /// else its living successor (one hop), else absent.
    std::optional<std::string> current(const std::string& styleID) const;
  };

  /// Where an answer came from.
  enum class Source { override, browserHost, app, account, serverDefault };

  struct Resolution {
    std::optional<std::string> styleID;  // absent: the server applies its own default
    Source source = Source::serverDefault;
    bool operator==(const Resolution&) const = default;
  };

  /// The first that yields a style of today: the one-shot override, the rule for the site, the rule for
  /// the application, the account's choice.
  static Resolution resolve(const DictationContext& context, const Rules& rules);

  /// Old identifier to the style that supersedes it; of two that claim the same one the later wins.
  static std::map<std::string, std::string> successors(const std::vector<DictationStyle>& styles);

  /// The normal form of a web host, so that a typed rule and a host read from a browser compare equal.
  /// Absent for what cannot be a host name with a dot.
  static std::optional<std::string> normaliseHost(std::string_view text);
};

inline const StyleResolver::Rules StyleResolver::Rules::empty{};

std::string_view rawValue(StyleResolver::Source source);

/// What a screen adds to the style's name; absent where there is nothing to say.
std::optional<std::string_view> label(StyleResolver::Source source);

}  // namespace pell
