#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/HistoryExport.h"
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

std::string exported(ExportFormat format, const std::vector<DictationRecord>& records) {
  HistoryExport file(format);
  std::string text = file.begin();
  for (const auto& each : records) text += file.record(each);
  return text + file.end();
}

TEST(HistoryExportTest, IsWellFormedForNoneOneAndManyAndQuotesWhatCsvMustQuote) {
  const auto plain = record("plain", 1);
  auto awkward = record("one, \"two\"\r\nthree", 2.25);
  awkward.targetApp = "Mail";
  for (const auto& records : {std::vector<DictationRecord>{}, {plain}, {plain, awkward}}) {
    EXPECT_EQ(nlohmann::json::parse(exported(ExportFormat::json, records)),
              nlohmann::json::parse(historyJson(records)));
  }
  const std::string csv = exported(ExportFormat::csv, {plain, awkward});
  EXPECT_NE(csv.find("\r\nA,1.000,plain,1,0,0,,,none,,,\r\n"), std::string::npos) << csv;
  EXPECT_NE(csv.find("\r\nA,2.250,\"one, \"\"two\"\"\r\nthree\",1,0,0,,Mail,none,,,\r\n"), std::string::npos)
      << csv;
}

}  // namespace
}  // namespace pell
