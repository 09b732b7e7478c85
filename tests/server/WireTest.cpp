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

bool reads(const Json& json) {
  try {
    decodeWire<TranscriptionResult>(json.dump());
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
  const auto refusesWithout = [](const std::vector<std::string>& path, const std::string& key) {
    Json missing = fullResult();
    Json null = fullResult();
    Json* place = &missing;
    Json* other = &null;
    for (const auto& step : path) {
      place = &(*place)[step];
      other = &(*other)[step];
    }
    place->erase(key);
    (*other)[key] = nullptr;
    EXPECT_FALSE(reads(missing)) << key;
    EXPECT_FALSE(reads(null)) << key;
  };
  for (const char* key : {"transcript", "paragraphs", "rawTranscript", "durationSeconds", "words",
                          "characters", "language", "quota"}) {
    refusesWithout({}, key);
  }
  for (const char* key : {"minutesPerMonth", "usedSeconds", "remainingSeconds", "allowanceSeconds"}) {
    refusesWithout({"quota"}, key);
  }
}

TEST(WireTest, TypesAreHeldTo) {
  struct Case {
    const char* key;
    const char* value;
    bool fits;
  };
  const std::vector<Case> cases{
      {"words", "1.5", false},
      {"words", "60.0", true},
      {"words", "6e1", true},
      {"words", "-1", true},
      {"words", "9223372036854775807", true},
      {"words", "9223372036854775808", false},
      {"words", "-9223372036854775809", false},
      {"words", "1e300", false},
      {"words", "\"1\"", false},
      {"words", "true", false},
      {"durationSeconds", "3", true},
      {"durationSeconds", "\"3\"", false},
      {"durationSeconds", "false", false},
      {"confidence", "\"high\"", false},
      {"transcript", "7", false},
      {"paragraphs", "\"text\"", false},
      {"paragraphs", "[\"a\", 1]", false},
      {"paragraphs", "[\"a\", null]", false},
      {"unlocked", "{}", false},
      {"quota", "[]", false},
      {"quota", "\"full\"", false},
  };
  for (const Case& c : cases) {
    Json json = fullResult();
    json[c.key] = "@";
    std::string text = json.dump();
    text.replace(text.find("\"@\""), 3, c.value);
    bool fits = true;
    try {
      decodeWire<TranscriptionResult>(text);
    } catch (const WireMismatch&) {
      fits = false;
    }
    EXPECT_EQ(fits, c.fits) << c.key << " = " << c.value;
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
