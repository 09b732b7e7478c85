// The operators' document, from the key to the reply.
#include <fstream>
#include <sodium.h>
#include <sys/stat.h>

#include "ServerFixture.h"
#include "localserver/Commands.h"
#include "localserver/SignedConfig.h"

namespace pell::localserver {
namespace {

using nlohmann::json;

class SignedConfigTest : public ServerFixture {
 protected:
  std::string run(const std::vector<std::string>& line) {
    const auto none = [](const std::string&) { return std::optional<std::string>(); };
    return runCommand(line, none, 1'735'689'600).value_or("no command");
  }
  std::string sign(const std::string& document) {
    const auto file = directory_.path() / "document.json";
    std::ofstream(file) << document;
    return run({"config", "sign", file, "--key", key_, "--data", directory_.path()});
  }
  Answer served() { return send(server_->port(), {.path = "/api/v1/app-config"}); }

  const std::string key_ = directory_.path() / "signing.key";
};

std::vector<unsigned char> bytesOf(const std::string& text, int variant) {
  std::vector<unsigned char> bytes(text.size());
  std::size_t size = 0;
  if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &size, nullptr,
                        variant) != 0) {
    return {};
  }
  bytes.resize(size);
  return bytes;
}

TEST_F(SignedConfigTest, IsServedAsItWasSignedAndVerifiesWithThePublishedKey) {
  start(hello);
  EXPECT_EQ(served().errorCode(), "NOT_FOUND");
  const std::string said = run({"keygen", key_});
  const std::string publicKey = said.substr(said.find("Public key: ") + 12, 44);
  struct stat information {};
  ASSERT_EQ(stat(key_.c_str(), &information), 0);
  EXPECT_EQ(information.st_mode & 0777, 0600u);
  EXPECT_THROW(run({"keygen", key_}), ConfigFailure) << "a key is not overwritten";

  sign(R"({"minimumSupportedVersion":"1.2","features":{"notes":false},"message":"Bitte aktualisieren: ü"})");
  const Answer answer = served();
  ASSERT_EQ(answer.status, 200);
  const json envelope = answer.json();
  const std::string payload = envelope["payload"];
  const auto signature = bytesOf(envelope["signature"], sodium_base64_VARIANT_URLSAFE_NO_PADDING);
  const auto key = bytesOf(publicKey, sodium_base64_VARIANT_ORIGINAL);
  ASSERT_EQ(signature.size(), crypto_sign_BYTES);
  ASSERT_EQ(key.size(), crypto_sign_PUBLICKEYBYTES);
  EXPECT_EQ(
      crypto_sign_verify_detached(signature.data(), reinterpret_cast<const unsigned char*>(payload.data()),
                                  payload.size(), key.data()),
      0);
  EXPECT_TRUE(envelope["keyId"].is_string());
  const json expected = {{"minimumSupportedVersion", "1.2"},
                         {"features", {{"notes", false}}},
                         {"message", "Bitte aktualisieren: ü"},
                         {"issuedAt", "2025-01-01T00:00:00.000Z"}};
  EXPECT_EQ(json::parse(bytesOf(payload, sodium_base64_VARIANT_URLSAFE_NO_PADDING)), expected);
}

TEST_F(SignedConfigTest, WhatTheApplicationWouldNotUnderstandIsNotSigned) {
  start(hello);
  run({"keygen", key_});
  const char* documents[] = {"",
                             "[]",
                             "{}",
                             R"({"minimumSupportedVersion":1})",
                             R"({"minimumSupportedVersion":"1.2-beta"})",
                             R"({"minimumSupportedVersion":"1.2.3.4"})",
                             R"({"minimumSupportedVersion":"1","feature":{}})",
                             R"({"minimumSupportedVersion":"1","features":["notes"]})",
                             R"({"minimumSupportedVersion":"1","features":{"notes":"off"}})",
                             R"({"minimumSupportedVersion":"1","message":7})",
                             R"({"minimumSupportedVersion":"1","issuedAt":"2025-01-01T00:00:00Z"})"};
  for (const char* document : documents) EXPECT_THROW(sign(document), ConfigFailure) << document;
  EXPECT_EQ(served().status, 404);
  chmod(key_.c_str(), 0644);
  EXPECT_THROW(sign(R"({"minimumSupportedVersion":"1"})"), ConfigFailure) << "others could read the key";
  std::ofstream(key_) << "not a key";
  chmod(key_.c_str(), 0600);
  EXPECT_THROW(sign(R"({"minimumSupportedVersion":"1"})"), ConfigFailure);
  EXPECT_THROW(run({"config", "sign", "only a document"}), Malformed);
  EXPECT_THROW(run({"keygen"}), Malformed);
}

}  // namespace
}  // namespace pell::localserver
