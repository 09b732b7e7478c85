#include <gtest/gtest.h>
#include <regex>
#include <set>

#include "stores/Uuid.h"

namespace pell {
namespace {

TEST(UuidTest, IdentifiersAreRandomAndOfTheUsualForm) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int time = 0; time < 1000; ++time) {
    auto identifier = makeUuid();
    EXPECT_TRUE(std::regex_match(identifier, form)) << identifier;
    EXPECT_TRUE(seen.insert(identifier).second) << identifier;
  }
}

}  // namespace
}  // namespace pell
