#include <gtest/gtest.h>

#include "app/Permissions.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using testing::MemoryPlatform;

TEST(PermissionsTest, OnlyAnAuthorizedMicrophoneCounts) {
  MemoryPlatform desk;
  Permissions permissions(desk.accessibility, desk.audio, desk.workspace);
  for (auto status : {MicrophoneAuthorization::notDetermined, MicrophoneAuthorization::restricted,
                      MicrophoneAuthorization::denied, MicrophoneAuthorization::authorized}) {
    desk.audio.status = status;
    EXPECT_EQ(permissions.hasMicrophone(), status == MicrophoneAuthorization::authorized);
  }
  desk.audio.loseDevice("unplugged");
  EXPECT_TRUE(permissions.hasMicrophone()) << "an unplugged microphone is no lost grant";
  EXPECT_FALSE(permissions.hasMicrophoneDevice());
}

}  // namespace
}  // namespace pell
