#include <gtest/gtest.h>
#include <map>
#include <vector>

#include "platform/portable/DateLocale.h"

namespace pell::testing {
namespace {

TEST(DateLocaleTest, FollowsTheEnvironment) {
  struct Case {
    std::map<std::string, std::string> environment;
    std::string locale;
  };
  const std::vector<Case> cases{
      {{{"LANG", "en_US.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}}, "de_DE"},
      {{{"LANG", "en_US.UTF-8"}, {"LC_TIME", "de_DE.UTF-8"}, {"LC_ALL", "hi_IN"}}, "hi_IN"},
      {{{"LANG", "pt_BR.UTF-8"}, {"LC_TIME", ""}, {"LC_MESSAGES", "de_DE.UTF-8"}}, "pt_BR"},
      {{{"LANG", "de_DE@euro"}}, "de_DE"},
      {{{"LANG", "sr_RS.UTF-8@latin"}}, "sr_Latn_RS"},
      {{{"LANG", "eo"}}, "eo"},
      {{{"LANG", "C.UTF-8"}}, "en_US_POSIX"},
      {{{"LC_ALL", "POSIX"}, {"LANG", "de_DE"}}, "en_US_POSIX"},
      {{}, "en_US_POSIX"},
  };
  for (const Case& c : cases) {
    const auto variable = [&](const std::string& name) -> std::optional<std::string> {
      const auto found = c.environment.find(name);
      return found == c.environment.end() ? std::nullopt : std::optional(found->second);
    };
    EXPECT_EQ(localeOfDates(variable), c.locale);
  }
}

}  // namespace
}  // namespace pell::testing
