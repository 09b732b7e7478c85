#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/HistoryListing.h"

namespace pell {
namespace {

DictationRecord record(std::string text, double createdAt) {
  return {.id = "A", .text = std::move(text), .words = 1, .createdAt = dateFromSeconds(createdAt)};
}

std::string seconds(Date date) { return std::to_string(static_cast<int>(secondsSince1970(date))); }

TEST(HistoryListingTest, NewestStandsLastAndEscapesDoNotReachTheTerminal) {
  auto newest = record("second\x1b[2J", 2);
  newest.targetApp = "Ma\x07il";
  newest.delivery = DictationRecord::Delivery::pasted;
  std::string text = historyText({newest, record("first\nline", 1)}, seconds);
  EXPECT_EQ(text,
            "1  1 word · Saved only\nfirst\nline\n\n2  1 word · Pasted · Ma\\x07il\nsecond\\x1b[2J\n\n");
}

TEST(HistoryListingTest, JsonKeepsEveryFieldAndSurvivesBadBytes) {
  auto bad = record(
      "a\xff"
      "b\x1b",
      1.5);
  bad.rawText = "raw";
  auto parsed = nlohmann::json::parse(historyJson({bad}));
  ASSERT_EQ(parsed.size(), 1u);
  EXPECT_EQ(parsed[0]["text"], "a\uFFFDb\x1b");
  EXPECT_EQ(parsed[0]["raw_text"], "raw");
  EXPECT_EQ(parsed[0]["created_at"], 1.5);
  EXPECT_TRUE(parsed[0]["target_app"].is_null());
  EXPECT_EQ(parsed[0]["delivery"], "none");
}

}  // namespace
}  // namespace pell
