#include <gtest/gtest.h>

#include "server/AppVersion.h"
#include "server/RemoteConfig.h"
#include "server/RemoteConfigSigner.h"
#include "server/Wire.h"

namespace pell {
namespace {

using namespace pell::testing;
using Payload = RemoteConfig::Payload;

TEST(RemoteConfigTest, DocumentOfAnotherSignerProgramIsAccepted) {
  auto envelope = decodeWire<RemoteConfig::Envelope>(fixtureText("envelope.json"));
  const Payload expected{.minimumSupportedVersion = "1.2",
                         .features = {{"celebrations", false}, {"notes", true}},
                         .message = "Grüße: please update — ¿sí?",
                         .issuedAt = "2026-03-01T09:30:00.250Z"};
  EXPECT_EQ(RemoteConfig::verify(envelope, fixtureText("public-key")), expected);
  EXPECT_EQ(RemoteConfigSigner().publicKey, fixtureText("public-key"));
  // Padding or none, it is the same signature.
  ASSERT_TRUE(envelope.signature.ends_with("=="));
  envelope.signature.resize(envelope.signature.size() - 2);
  EXPECT_EQ(RemoteConfig::verify(envelope, fixtureText("public-key")), expected);
  EXPECT_EQ(decodeWire<Payload>(*RemoteConfig::encode(expected)), expected);
}

TEST(RemoteConfigTest, NothingUnsignedIsAccepted) {
  const RemoteConfigSigner signer;
  const RemoteConfigSigner stranger(base64(std::string(32, 'x'), sodium_base64_VARIANT_ORIGINAL));
  const std::string document = documentJson("2026-03-01T09:30:00.250Z");
  const auto good = signer.sign(document);
  ASSERT_TRUE(RemoteConfig::verify(good, signer.publicKey));

  for (const std::string& key : {std::string(), stranger.publicKey, signer.publicKey.substr(0, 40),
                                 signer.publicKey + "AAAA", std::string("no base64")}) {
    EXPECT_FALSE(RemoteConfig::verify(good, key)) << key;
  }
  const auto refused = [&](RemoteConfig::Envelope envelope) {
    return !RemoteConfig::verify(envelope, signer.publicKey);
  };
  for (std::size_t at = 0; at < good.payload.size(); at += 5) {
    auto altered = good;
    altered.payload[at] = altered.payload[at] == 'A' ? 'B' : 'A';
    EXPECT_TRUE(refused(altered)) << at;
  }
  auto envelope = good;
  envelope.payload += "=";  // the same bytes, but not the text that was signed
  EXPECT_TRUE(refused(envelope));
  envelope = good;
  envelope.signature = signer.signature(document);  // of the JSON instead of its base64
  EXPECT_TRUE(refused(envelope));
  for (const std::string& signature : {std::string(), good.signature.substr(0, 80), good.signature + "AAAA",
                                       std::string("*") + good.signature.substr(1)}) {
    envelope = good;
    envelope.signature = signature;
    EXPECT_TRUE(refused(envelope)) << signature;
  }
  for (const char* unreadable : {"", "[]", R"({"features":{},"issuedAt":"x"})",
                                 R"({"minimumSupportedVersion":"1","features":{"a":1},"issuedAt":"x"})"}) {
    EXPECT_TRUE(refused(signer.sign(unreadable))) << unreadable;
  }
  envelope = {.payload = "?", .signature = signer.signature("?"), .keyId = ""};
  EXPECT_TRUE(refused(envelope));
}

TEST(RemoteConfigTest, OnlyALaterDocumentReplaces) {
  struct Case {
    const char* candidate;
    const char* current;
    bool newer;
  };
  for (const Case& c : std::vector<Case>{
           {"2026-03-01T09:30:00.250Z", "2026-03-01T09:30:00.249Z", true},
           {"2026-03-01T09:30:00.250Z", "2026-03-01T09:30:00.250Z", false},
           {"2026-03-01T09:30:00.3Z", "2026-03-01T09:30:00.300Z", false},
           {"2026-03-01T09:30:00.1Z", "2026-03-01T09:30:00.2Z", false},
           {"2026-03-01T09:30:00.0Z", "2026-03-01T10:30:00.0+02:00", true},
           {"2026-03-01T09:30:00Z", "2020-01-01T00:00:00.0Z", false},  // no fraction: never newer
           {"2020-01-01T00:00:00.0Z", "2026-03-01T09:30:00Z", true},   // and always beaten
           {"soon", "later", false},
           {"2026-03-01T09:30:00.0Z", "later", true}}) {
    const Payload current{.minimumSupportedVersion = "1", .issuedAt = c.current};
    const Payload candidate{.minimumSupportedVersion = "1", .issuedAt = c.candidate};
    EXPECT_EQ(RemoteConfig::newer(candidate, current), c.newer) << c.candidate << " after " << c.current;
    EXPECT_TRUE(RemoteConfig::newer(candidate, std::nullopt));
  }
}

TEST(RemoteConfigTest, OnlyVersionsThatParseCanBlock) {
  struct Case {
    const char* running;
    const char* floor;
    bool blocked;
  };
  for (const Case& c : std::vector<Case>{{"1.2.0", "1.2", false},
                                         {"1.1.9", "1.2", true},
                                         {"1.10", "1.9", false},
                                         {"1.9", "1.10", true},
                                         {"2", "2.0.0", false},
                                         {"1", "1.0.1", true},
                                         {"0.9.9", "1", true},
                                         {"1.0", "1.1.0-beta", false},
                                         {"1.0-beta", "1.1", false},
                                         {"1.0.0.0", "2", false},
                                         {"1..0", "2", false},
                                         {"1.", "2", false},
                                         {"", "2", false},
                                         {"1", "", false},
                                         {"+1", "2", false},
                                         {" 1", "2", false},
                                         {"1", "99999999999999999999", false}}) {
    EXPECT_EQ(RemoteConfig::isBlocked(c.running, c.floor), c.blocked) << c.running << " under " << c.floor;
  }
}

TEST(RemoteConfigTest, FeaturesAreOnUnlessToldOtherwise) {
  const Payload payload{.minimumSupportedVersion = "1", .features = {{"on", true}, {"off", false}}};
  EXPECT_FALSE(RemoteConfig::isEnabled("off", payload));
  EXPECT_TRUE(RemoteConfig::isEnabled("on", payload));
  EXPECT_TRUE(RemoteConfig::isEnabled("another", payload));
  EXPECT_TRUE(RemoteConfig::isEnabled("off", Payload{}));
  EXPECT_TRUE(RemoteConfig::isEnabled("off", std::nullopt));
}

}  // namespace
}  // namespace pell
