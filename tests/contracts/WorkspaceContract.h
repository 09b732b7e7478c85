// What every Workspace does.
#pragma once

#include "contracts/World.h"
#include "platform/Workspace.h"

namespace pell::testing {

/// A desktop on which applications come and go.
class WorkspaceWorld : public World {
 public:
  virtual Workspace& workspace() = 0;

  /// Starts an application, whose window comes to the front, and gives its process. `identifier` is what
  /// the desktop knows it by, `name` its title.
  virtual int openApplication(const std::string& identifier, const std::string& name) = 0;
  virtual void bringToFront(int process) = 0;
  virtual void closeApplication(int process) = 0;

  /// A window of this very process comes to the front.
  virtual void activateSelf() = 0;

  /// What the desktop was asked to open.
  virtual std::vector<std::string> openedAddresses() = 0;
};

class WorkspaceContract : public Contract<WorkspaceWorld> {
 protected:
  bool inFront(int process) {
    return world().waitUntil([&] {
      auto front = world().workspace().frontmostApplication();
      return front && front->processIdentifier == process;
    });
  }
};

TEST_P(WorkspaceContract, FollowsTheApplicationInFront) {
  int first = world().openApplication("org.example.First", "First");
  ASSERT_TRUE(inFront(first));
  auto described = world().workspace().frontmostApplication();
  EXPECT_EQ(described->bundleIdentifier, "org.example.First");
  EXPECT_NE(described->localizedName, "");
  EXPECT_FALSE(world().workspace().isSelfActive());

  int second = world().openApplication("org.example.Second", "Second");
  ASSERT_TRUE(inFront(second));
  EXPECT_EQ(world().workspace().frontmostApplication()->bundleIdentifier, "org.example.Second");
  world().bringToFront(first);
  EXPECT_TRUE(inFront(first));
}

TEST_P(WorkspaceContract, HasNoApplicationInFrontWhereThereIsNone) {
  int only = world().openApplication("org.example.Only", "Only");
  ASSERT_TRUE(inFront(only));
  world().closeApplication(only);
  EXPECT_TRUE(world().waitUntil([&] { return !world().workspace().frontmostApplication(); }));
  EXPECT_FALSE(world().workspace().isSelfActive());
}

TEST_P(WorkspaceContract, KnowsItself) {
  world().activateSelf();
  EXPECT_TRUE(world().waitUntil([&] { return world().workspace().isSelfActive(); }));
  EXPECT_TRUE(world().workspace().frontmostApplication().has_value());
  int other = world().openApplication("org.example.Other", "Other");
  ASSERT_TRUE(inFront(other));
  EXPECT_FALSE(world().workspace().isSelfActive());
}

TEST_P(WorkspaceContract, HandsAddressesToTheDesktop) {
  const std::string address = "https://example.org/a?b=c%20d&e='f'";
  EXPECT_TRUE(world().workspace().open(address));
  EXPECT_TRUE(world().waitUntil([&] { return !world().openedAddresses().empty(); }));
  EXPECT_THAT(world().openedAddresses(), ::testing::ElementsAre(address));
}

}  // namespace pell::testing
