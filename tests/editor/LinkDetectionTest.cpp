#include <gtest/gtest.h>

#include "editor/LinkDetection.h"

namespace pell {
namespace {

TEST(LinkDetectionTest, FindsTheAddressThatALineEndsWith) {
  using Found = LinkDetection::Found;
  const std::pair<std::u16string, std::optional<Found>> cases[]{
      {u"", {}},
      {u"no address", {}},
      {u"https://", {}},
      {u"www.", {}},
      {u"www.example", {}},
      {u"mailto:nobody", {}},
      {u"https://x.org and more", {}},
      {u"see https://x.org", Found{13, 13, "https://x.org"}},
      {u"HTTP://X.org/a?b=c#d", Found{20, 20, "HTTP://X.org/a?b=c#d"}},
      {u"(www.x.org).", Found{11, 9, "https://www.x.org"}},
      {u"https://x.org/a_(b)", Found{19, 19, "https://x.org/a_(b)"}},
      {u"“https://x.org/क”,", Found{17, 15, "https://x.org/क"}},
      {u"mailto:a@b.c", Found{12, 12, "mailto:a@b.c"}},
      {u"https://" + std::u16string(LinkDetection::longest, u'x'), {}},
  };
  for (const auto& [line, expected] : cases) {
    const auto found = LinkDetection::atEnd(line);
    ASSERT_EQ(found.has_value(), expected.has_value()) << expected.value_or(Found()).target;
    if (!found) continue;
    EXPECT_EQ(found->target, expected->target);
    EXPECT_EQ(found->fromEnd, expected->fromEnd) << found->target;
    EXPECT_EQ(found->length, expected->length) << found->target;
  }
}

}  // namespace
}  // namespace pell
