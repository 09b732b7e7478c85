#include <gmock/gmock.h>
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

TEST(PermissionsTest, AsksForAccessibilityAndFollowsIt) {
  MemoryPlatform desk;
  Permissions permissions(desk.accessibility, desk.audio, desk.workspace);
  desk.desktop.trusted = false;
  desk.accessibility.grantOnRequest = true;
  EXPECT_FALSE(permissions.hasAccessibility());
  EXPECT_FALSE(permissions.requestAccessibility());
  EXPECT_TRUE(permissions.hasAccessibility());
  EXPECT_TRUE(permissions.requestAccessibility());
}

TEST(PermissionsTest, OpensTwoDifferentPlaces) {
  MemoryPlatform desk;
  Permissions permissions(desk.accessibility, desk.audio, desk.workspace);
  permissions.openAccessibilitySettings();
  permissions.openMicrophoneSettings();
  EXPECT_THAT(desk.workspace.opened, ::testing::ElementsAre(::testing::EndsWith("?Privacy_Accessibility"),
                                                            ::testing::EndsWith("?Privacy_Microphone")));
  desk.workspace.canOpen = false;
  permissions.openMicrophoneSettings();
}

}  // namespace
}  // namespace pell
