#include <gtest/gtest.h>

#include "server/Wire.h"
#include "styles/StyleCatalogue.h"

namespace pell {
namespace {

using Strings = std::vector<std::string>;

DictationStyle style(std::string id, std::optional<std::string> group = {},
                     std::optional<Strings> supersedes = {}) {
  return {.id = id, .title = id, .description = "", .group = group, .supersedes = supersedes};
}

/// "name: ids; ..." in order.
std::string shown(const std::vector<StyleCatalogue::Group>& groups) {
  std::string text;
  for (const auto& group : groups) {
    text += group.name + ":";
    for (const auto& member : group.styles) text += " " + member.id;
    text += "; ";
  }
  return text;
}

TEST(StyleCatalogueTest, SectionsFollowTheServerAndLoseNothing) {
  const std::vector<DictationStyle> styles{style("a", "Chat"), style("b"),          style("c", "Mail"),
                                           style("d", "Chat"), style("e", "Other"), style("f", "")};
  struct Case {
    std::string name;
    std::vector<DictationStyle> styles;
    Strings order;
    std::string expected;
  };
  const std::vector<Case> cases{
      {"nothing on offer", {}, {"Chat", "Mail"}, ""},
      {"no wanted order", styles, {}, "Chat: a d; Other: b e; Mail: c; : f; "},
      {"wanted first, forgotten last", styles, {"Mail", "Other"}, "Mail: c; Other: b e; Chat: a d; : f; "},
      {"empty sections passed over", styles, {"Video", "Mail"}, "Mail: c; Chat: a d; Other: b e; : f; "},
      {"a section named twice", {style("a", "Chat")}, {"Chat", "Chat"}, "Chat: a; Chat: a; "},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(shown(StyleCatalogue::grouped(c.styles, c.order)), c.expected) << c.name;
  }
}

TEST(DictationStyleTest, CatalogueDecodesStrictly) {
  const auto catalogue = decodeWire<CleanupStyleCatalogue>(
      R"({"styles":[{"id":"a","title":"A","description":"d","group":null,"later":1},
                    {"id":"b","title":"B","description":"e","group":"Chat","supersedes":["old"]}],
          "serverDefault":"a"})");
  const std::vector<DictationStyle> expected{
      {.id = "a", .title = "A", .description = "d", .group = {}, .supersedes = {}},
      {.id = "b", .title = "B", .description = "e", .group = "Chat", .supersedes = Strings{"old"}}};
  EXPECT_EQ(catalogue.styles, expected);
  EXPECT_EQ(catalogue.groups, std::nullopt);
  EXPECT_EQ(catalogue.serverDefault, "a");
  EXPECT_EQ(decodeWire<std::vector<DictationStyle>>(encodeStyles(expected)), expected);
}

}  // namespace
}  // namespace pell
