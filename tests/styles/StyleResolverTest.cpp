#include <gtest/gtest.h>

#include "styles/StyleResolver.h"
#include "styles/StyleSeeds.h"

namespace pell {
namespace {

using Rules = StyleResolver::Rules;
using Source = StyleResolver::Source;

Rules everything() {
  return {.contextAware = true,
          .useBrowserHost = true,
          .appRules = {{"app.one", "chat"}, {"app.old", "retired"}, {"app.gone", "gone"}},
          .hostRules = {{"mail.example", "mail"}, {"gone.example", "gone"}},
          .accountDefault = "basic",
          .oneShotOverride = std::nullopt,
          .knownStyleIDs = {"basic", "chat", "mail", "new"},
          .successors = {{"retired", "new"}, {"ancient", "retired"}, {"dead", "gone"}}};
}

TEST(StyleResolverTest, PrecedenceAndRetiredStyles) {
  struct Case {
    std::string name;
    DictationContext context;
    std::function<void(Rules&)> change;
    std::optional<std::string> style;
    Source source;
  };
  const DictationContext both{.bundleID = "app.one", .browserHost = "mail.example"};
  const auto unchanged = [](Rules&) {};
  const std::vector<Case> cases{
      {"site before application", both, unchanged, "mail", Source::browserHost},
      {"sites switched off", both, [](Rules& r) { r.useBrowserHost = false; }, "chat", Source::app},
      {"context switched off", both, [](Rules& r) { r.contextAware = false; }, "basic", Source::account},
      {"override before all", both, [](Rules& r) { r.oneShotOverride = "chat"; }, "chat", Source::override},
      {"override without context", both,
       [](Rules& r) {
         r.contextAware = false;
         r.oneShotOverride = "retired";
       },
       "new", Source::override},
      {"unknown override", both, [](Rules& r) { r.oneShotOverride = "gone"; }, "mail", Source::browserHost},
      {"override with a chain", both, [](Rules& r) { r.oneShotOverride = "ancient"; }, "mail",
       Source::browserHost},
      {"site with a dead style",
       {.bundleID = "app.one", .browserHost = "gone.example"},
       unchanged,
       "chat",
       Source::app},
      {"keys are compared exactly",
       {.bundleID = "App.One", .browserHost = "MAIL.example"},
       unchanged,
       "basic",
       Source::account},
      {"application's retired style",
       {.bundleID = "app.old", .browserHost = {}},
       unchanged,
       "new",
       Source::app},
      {"nowhere", DictationContext::none, unchanged, "basic", Source::account},
      {"retired account style", DictationContext::none, [](Rules& r) { r.accountDefault = "retired"; }, "new",
       Source::account},
      {"dead account style", DictationContext::none, [](Rules& r) { r.accountDefault = "dead"; },
       std::nullopt, Source::serverDefault},
      {"empty catalogue", both,
       [](Rules& r) {
         r.knownStyleIDs.clear();
         r.oneShotOverride = "chat";
       },
       std::nullopt, Source::serverDefault},
  };
  for (const Case& c : cases) {
    Rules rules = everything();
    c.change(rules);
    const auto resolution = StyleResolver::resolve(c.context, rules);
    EXPECT_EQ(resolution.styleID, c.style) << c.name;
    EXPECT_EQ(resolution.source, c.source) << c.name << ": " << rawValue(resolution.source);
  }
}

TEST(StyleResolverTest, LaterStyleWinsAClaim) {
  const auto style = [](std::string id, std::optional<std::vector<std::string>> supersedes) {
    return DictationStyle{.id = id, .title = "", .description = "", .group = {}, .supersedes = supersedes};
  };
  const auto successors = StyleResolver::successors(
      {style("a", {{"x", "y"}}), style("b", std::nullopt), style("c", {{"y", "c"}})});
  EXPECT_EQ(successors, (std::map<std::string, std::string>{{"c", "c"}, {"x", "a"}, {"y", "c"}}));
}

TEST(StyleResolverTest, HostsInNormalForm) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
      {" WWW.Example.COM\n", "example.com"},
      {"\u00A0mail.example.com\u2003", "mail.example.com"},
      {"example.com:8080", "example.com:8080"},
      {"www.www.example", "www.example"},
      {"wwwx.example", "wwwx.example"},
      {"ÄRGER.example", "ärger.example"},
      {"localhost", std::nullopt},
      {"exam ple.com", std::nullopt},
      {"example.com/path", std::nullopt},
      {"https://example.com", std::nullopt},
      {"www.", std::nullopt},
      {" \t\r\n", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(StyleResolver::normaliseHost(text), expected) << '"' << text << '"';
  }
  for (const auto& [host, style] : StyleSeeds::hostStyleRules()) {
    EXPECT_EQ(StyleResolver::normaliseHost(host), host) << "a seed that is never looked up";
  }
}

}  // namespace
}  // namespace pell
