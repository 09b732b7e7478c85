#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "stores/Log.h"
#include "support/MemoryLog.h"

namespace pell {
namespace {

TEST(LogTest, EveryEventIsOneLineOfJson) {
  testing::MemoryLog sink;
  const Log log(sink);
  log.info("plain");
  log.warn("fields", {{"text", "a\n\"b\""}, {"number", 3}, {"real", 1.5}, {"yes", true}});
  log.error("taken_names", {{"event", "other"}, {"level", "QUIET"}, {"kept", 1}});
  log.info("not_utf8", {{"text", "\xFF"}});
  log.warn("no_such_number", {{"value", std::nan("")}, {"dropped", 1}});

  const auto lines = sink.lines();
  EXPECT_EQ(lines[0], nlohmann::json::parse(R"({"level":"INFO","event":"plain"})"));
  EXPECT_EQ(lines[1],
            nlohmann::json::parse(
                R"({"level":"WARN","event":"fields","text":"a\n\"b\"","number":3,"real":1.5,"yes":true})"));
  EXPECT_EQ(lines[2], nlohmann::json::parse(R"({"level":"ERROR","event":"taken_names","kept":1})"));
  EXPECT_EQ(lines[3]["text"], "\uFFFD");
  EXPECT_TRUE(sink.text().ends_with("\n{\"level\":\"WARN\",\"event\":\"no_such_number\"}\n")) << sink.text();
  EXPECT_EQ(std::ranges::count(sink.text(), '\n'), 5);
}

}  // namespace
}  // namespace pell
