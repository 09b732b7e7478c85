#include <gtest/gtest.h>

#include "app/ControlMessage.h"

namespace pell {
namespace {

TEST(ControlMessageTest, MessagesSurviveTheSocket) {
  ControlRequest request{"register", "a@b.c", "p\"ä\n\\ss"};
  std::string line = encode(request);
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_EQ(decodeRequest(line), request);
  ControlReply reply{true, "Signed in."};
  EXPECT_EQ(decodeReply(encode(reply)), reply);
}

TEST(ControlMessageTest, AnythingElseIsRefused) {
  for (const char* line : {"", "{", "[]", "7", "{}", R"({"command":7})", R"({"command":""})",
                           R"({"command":"dictate","argument":[]})", "\xff\xfe"}) {
    EXPECT_FALSE(decodeRequest(line)) << line;
  }
  for (const char* line : {"", "null", "{}", R"({"ok":"yes"})", R"({"ok":true,"message":1})"}) {
    EXPECT_FALSE(decodeReply(line)) << line;
  }
}

}  // namespace
}  // namespace pell
