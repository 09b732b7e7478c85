#include <gtest/gtest.h>

#include "editor/AttributedText.h"
#include "editor/ListMarkers.h"
#include "editor/ListSelection.h"

namespace pell {
namespace {

TEST(ListMarkersTest, FindsTheMarkerAndCountsOn) {
  struct Case {
    std::u16string line;
    ListKind kind;
    std::size_t length;
    std::u16string next;
  };
  const auto none = [](std::u16string line) { return Case{std::move(line), ListKind::none, 0, u""}; };
  const std::vector<Case> cases{
      {u"•\tmilk\n", ListKind::bullet, 2, u"•\t"},
      {u"12.\tmilk", ListKind::ordered, 4, u"13.\t"},
      {u"007.\t", ListKind::ordered, 5, u"8.\t"},
      {u"9223372036854775806.\tx", ListKind::ordered, 21, u"9223372036854775807.\t"},
      {u"9223372036854775807.\tx", ListKind::ordered, 21, u"2.\t"},
      {u"99999999999999999999.\tx", ListKind::ordered, 22, u"2.\t"},
      none(u""),
      none(u"12."),
      none(u"12) milk"),
      none(u"12. milk"),
      none(u".\tmilk"),
      none(u"१.\tmilk"),
      none(u"• milk"),
      none(u" •\tmilk"),
  };
  for (const Case& each : cases) {
    const std::string shown(each.line.begin(), each.line.end());
    const AttributedText text(u"12.\tbefore\n" + each.line);
    const auto lead = ListMarkers::lead(text, {.location = 11, .length = each.line.size()});
    for (const auto& line : {each.line, lead}) {
      EXPECT_EQ(ListMarkers::listKind(line), each.kind) << shown;
      EXPECT_EQ(ListMarkers::markerLength(line), each.length) << shown;
      EXPECT_EQ(ListMarkers::orderedMarkerLength(line).has_value(), each.kind == ListKind::ordered) << shown;
      if (each.length > 0) {
        EXPECT_EQ(ListMarkers::next(line), each.next) << shown;
      }
    }
  }
}

TEST(ListMarkersTest, TheSelectionStaysOnItsText) {
  // "•\tone\n•\ttwo\n" and "one\ntwo\n".
  const std::vector<ListShift> off{{.location = 6, .delta = -2}, {.location = 0, .delta = -2}};
  const std::vector<ListShift> on{{.location = 4, .delta = 2}, {.location = 0, .delta = 2}};
  struct Case {
    std::vector<ListShift> shifts;
    TextRange before;
    TextRange after;
  };
  const std::vector<Case> cases{
      {off, {.location = 4, .length = 6}, {.location = 2, .length = 4}},
      {off, {.location = 1, .length = 0}, {.location = 0, .length = 0}},  // in a marker that goes
      {off, {.location = 7, .length = 0}, {.location = 4, .length = 0}},  // not into the line before
      {off, {.location = 7, .length = 1}, {.location = 4, .length = 0}},
      {on, {.location = 0, .length = 7}, {.location = 2, .length = 9}},
      {on, {.location = 3, .length = 1}, {.location = 5, .length = 3}},
      {{}, {.location = 9, .length = 9}, {.location = 8, .length = 0}},  // cut to the text
  };
  for (const Case& each : cases) {
    const bool grows = !each.shifts.empty() && each.shifts.front().delta > 0;
    EXPECT_EQ(ListSelection::after(each.before, each.shifts, grows ? 12 : 8), each.after)
        << each.before.location << " " << each.before.length;
  }
}

}  // namespace
}  // namespace pell
