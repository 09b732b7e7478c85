// What the operators may sign, and with which key. What the application makes of it, tests/endtoend tries.
#include <fstream>
#include <sys/stat.h>

#include "ServerFixture.h"
#include "localserver/Commands.h"
#include "localserver/SignedConfig.h"

namespace pell::localserver {
namespace {

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

TEST_F(SignedConfigTest, WhatTheApplicationWouldNotUnderstandIsNotSigned) {
  start(hello);
  run({"keygen", key_});
  struct stat information {};
  ASSERT_EQ(stat(key_.c_str(), &information), 0);
  EXPECT_EQ(information.st_mode & 0777, 0600u);
  EXPECT_THROW(run({"keygen", key_}), ConfigFailure) << "a key is not overwritten";
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
  std::ofstream(directory_.path() / "good.json") << R"({"minimumSupportedVersion":"1"})";
  const auto fresh = directory_.path() / "fresh/data/";
  run({"config", "sign", directory_.path() / "good.json", "--key", key_, "--data", fresh});
  ASSERT_EQ(stat(fresh.c_str(), &information), 0);
  EXPECT_EQ(information.st_mode & 0777, 0700u) << "the database may come to lie beside it";
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
