#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/AccountPages.h"
#include "server/Wire.h"

namespace pell {
namespace {

using Json = nlohmann::json;

/// What the server sends comes out again, whole, under the server's names.
template <class Record>
void expectFaithful(const Json& sent) {
  const Record record = decodeWire<Record>(sent.dump());
  EXPECT_EQ(Json::parse(AccountPages::json(record)), sent);
  EXPECT_EQ(AccountPages::text(record).find('\x1b'), std::string::npos);
}

TEST(AccountPagesTest, JsonIsWhatTheServerSentAndTextObeysNoEscapeSequence) {
  expectFaithful<Account>({{"id", "1"},
                           {"email", "a@b.c\x1b[2J"},
                           {"isAdmin", true},
                           {"cleanupEnabled", true},
                           {"cleanupPromptVersion", nullptr},
                           {"plan", {{"id", "p"}, {"displayName", "Home\x1b"}, {"minutesPerMonth", 60}}},
                           {"createdAt", "2026-01-01"},
                           {"emailVerified", false}});
  const Json counts{{"dictations", 2}, {"words", 30}, {"characters", 150}, {"seconds", 12.5}};
  Json period = counts;
  period["start"] = "2026-01-01\x1b";
  period["end"] = "2026-02-01";
  expectFaithful<UsageStats>(
      {{"lifetime", counts},
       {"period", period},
       {"quota", {{"minutesPerMonth", 60}, {"allowanceSeconds", 3600.0}, {"remainingSeconds", 3587.5}}},
       {"plan", {{"id", "p"}, {"displayName", "Home"}}}});
  expectFaithful<CleanupStyleCatalogue>(
      {{"styles",
        {{{"id", "s"}, {"title", "T\x1b"}, {"description", "D"}, {"group", "G"}, {"supersedes", {"r"}}}}},
       {"groups", nullptr},
       {"serverDefault", "s"}});
  auto item = [](const char* id, const Json& unlockedAt) {
    return Json{{"id", id},      {"title", "T\x1b"}, {"blurb", "B"},
                {"icon", "mic"}, {"threshold", 1},   {"unlockedAt", unlockedAt}};
  };
  expectFaithful<AchievementShelf>({{"badges", {item("words.1", "2026-01-01"), item("words.100", nullptr)}},
                                    {"actions", Json::array()},
                                    {"timeMilestones", Json::array()},
                                    {"progress", 0.25}});
}

}  // namespace
}  // namespace pell
