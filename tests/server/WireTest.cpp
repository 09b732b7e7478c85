#include <functional>
#include <gtest/gtest.h>

#include "server/Records.h"
#include "server/Wire.h"

namespace pell {
namespace {

using Json = nlohmann::json;

Json fullResult() {
  return Json::parse(R"({
    "transcript": "Hello.", "paragraphs": ["Hello."], "rawTranscript": "hello",
    "cleanupPromptVersionTitle": "v3", "durationSeconds": 2, "words": 1, "characters": 6,
    "confidence": 0.5, "language": "en", "unlocked": [],
    "quota": {"minutesPerMonth": 60, "usedSeconds": 2.5, "remainingSeconds": 3597.5, "allowanceSeconds": 3600}
  })");
}

bool reads(const std::string& text) {
  try {
    decodeWire<TranscriptionResult>(text);
    return true;
  } catch (const WireMismatch&) {
    return false;
  }
}

TEST(WireTest, ResultReadsWholeAndWithoutItsOptionalKeys) {
  const auto result = decodeWire<TranscriptionResult>(fullResult().dump());
  const TranscriptionResult expected{
      .transcript = "Hello.",
      .paragraphs = {"Hello."},
      .rawTranscript = "hello",
      .cleanupPromptVersionTitle = "v3",
      .durationSeconds = 2,
      .words = 1,
      .characters = 6,
      .confidence = 0.5,
      .language = "en",
      .unlocked = std::vector<std::string>{},
      .quota = {
          .minutesPerMonth = 60, .usedSeconds = 2.5, .remainingSeconds = 3597.5, .allowanceSeconds = 3600}};
  EXPECT_EQ(result, expected);

  for (const bool null : {false, true}) {
    Json json = fullResult();
    json["another"] = {1, 2};
    for (const char* key : {"cleanupPromptVersionTitle", "confidence", "unlocked"}) {
      null ? json[key] = nullptr : Json(json.erase(key));
    }
    const auto bare = decodeWire<TranscriptionResult>(json.dump());
    EXPECT_EQ(bare.cleanupPromptVersionTitle, std::nullopt);
    EXPECT_EQ(bare.confidence, std::nullopt);
    EXPECT_EQ(bare.unlocked, std::nullopt);
  }
}

TEST(WireTest, MissingOrNullRequiredKeysAreRefused) {
  for (const char* path : {"/transcript", "/paragraphs", "/rawTranscript", "/durationSeconds", "/words",
                           "/characters", "/language", "/quota", "/quota/minutesPerMonth",
                           "/quota/usedSeconds", "/quota/remainingSeconds", "/quota/allowanceSeconds"}) {
    const Json::json_pointer place(path);
    Json json = fullResult();
    json[place] = nullptr;
    EXPECT_FALSE(reads(json.dump())) << path;
    json[place.parent_pointer()].erase(place.back());
    EXPECT_FALSE(reads(json.dump())) << path;
  }
}

TEST(WireTest, TypesAreHeldTo) {
  struct {
    const char *key, *value;
    bool fits;
  } const cases[] = {
      {"words", "1.5", false},
      {"words", "6e1", true},
      {"words", "9223372036854775808", false},
      {"words", "true", false},
      {"durationSeconds", "3", true},
      {"confidence", "\"high\"", false},
      {"transcript", "7", false},
      {"paragraphs", "[\"a\", 1]", false},
      {"unlocked", "{}", false},
      {"quota", "[]", false},
  };
  for (const auto& c : cases) {
    Json json = fullResult();
    json[c.key] = "@";
    std::string text = json.dump();
    text.replace(text.find("\"@\""), 3, c.value);
    EXPECT_EQ(reads(text), c.fits) << c.key << " = " << c.value;
  }
}

TEST(WireTest, TextsThatAreNoReplyAreRefused) {
  std::vector<std::string> texts{"",
                                 " ",
                                 "null",
                                 "[]",
                                 "3",
                                 "{}",
                                 "<html>502</html>",
                                 "{\"a\":1e999}",
                                 "{\"transcript\":\"\xFF\"}",
                                 std::string(200000, '['),
                                 fullResult().dump() + "}"};
  const std::string whole = fullResult().dump();
  for (std::size_t cut = 0; cut < whole.size(); cut += 7) texts.push_back(whole.substr(0, cut));
  for (const auto& text : texts) {
    EXPECT_THROW(decodeWire<TranscriptionResult>(text), WireMismatch) << text.substr(0, 40);
  }
  EXPECT_EQ(decodeWire<std::optional<Account>>(" null "), std::nullopt);
}

TEST(WireTest, AccountWithoutVerificationCountsAsVerified) {
  const auto account = [](const std::string& more) {
    return decodeWire<Account>(R"({"id":"1","email":"a@b","isAdmin":false,"cleanupEnabled":true,
      "plan":{"id":"free","displayName":"Free","minutesPerMonth":30},"createdAt":"2024-01-01T00:00:00Z")" +
                               more + "}");
  };
  EXPECT_TRUE(account("").emailVerified);
  EXPECT_TRUE(account(R"(,"emailVerified":null)").emailVerified);
  EXPECT_FALSE(account(R"(,"emailVerified":false)").emailVerified);
  EXPECT_THROW(account(R"(,"emailVerified":"yes")"), WireMismatch);
  EXPECT_EQ(account(R"(,"cleanupPromptVersion":"x")").cleanupPromptVersion, "x");
  EXPECT_EQ(account("").plan.minutesPerMonth, 30);
}

}  // namespace
}  // namespace pell
