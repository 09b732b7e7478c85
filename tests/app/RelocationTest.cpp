#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/Relocation.h"
#include "app/RelocationContent.h"
#include "async/TaskScope.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::filesystem::path bundle = "/private/var/folders/x/AppTranslocation/4F/d/Pell.app/";
const std::filesystem::path target = "/Applications/Pell.app";

class RelocationTest : public ::testing::Test {
 protected:
  /// The user has accepted the offer, and what that sets off has run.
  void move() {
    relocation->noticeInstallLocation(AppTranslocation::current(installation));
    tasks.spawn(relocation->moveToApplications());
    desk.time.runReady();
  }
  std::optional<RelocationState> shown() const { return relocation->relocation().get(); }

  MemoryPlatform desk;
  Log log{desk.log};
  MemoryApplicationMover& mover = desk.mover;
  Installation installation{.bundle = bundle, .placement = {}, .mover = &mover};
  int quits = 0;
  Relocation::Collaborators collaborators{.installation = installation,
                                          .main = desk.time.main(),
                                          .makeSerialExecutor = desk.time.serialExecutors(),
                                          .log = log,
                                          .quit = [this] { ++quits; }};
  std::optional<Relocation> relocation{std::in_place, collaborators};
  TaskScope tasks{desk.time.main()};
};

TEST_F(RelocationTest, APlacementIsToldFromThePath) {
  struct Case {
    const char* path;
    Placement placement;
  };
  for (const auto& [path, placement] : std::vector<Case>{
           {"/Applications/Pell.app", Placement::applications},
           {"/Applications/Pell.app/", Placement::applications},
           {"/Applications/./Utilities/../Pell.app", Placement::applications},
           {"/Applications/Utilities/Pell.app", Placement::elsewhere},
           {"/Users/ada/Applications/Pell.app", Placement::elsewhere},
           {"/private/AppTranslocation/4F/Pell.app", Placement::translocated},
           {"/Applications/AppTranslocation/Pell.app", Placement::translocated},
           {"/AppTranslocation", Placement::elsewhere},
       }) {
    EXPECT_EQ(AppTranslocation::placement(path), placement) << path;
  }
  installation.placement = Placement::elsewhere;
  EXPECT_EQ(AppTranslocation::current(installation), Placement::elsewhere)
      << "the platform's rule goes first";
}

TEST_F(RelocationTest, OnlyATranslocatedCopyIsOfferedTheMove) {
  relocation->noticeInstallLocation(Placement::applications);
  relocation->noticeInstallLocation(Placement::elsewhere);
  tasks.spawn(relocation->moveToApplications());
  desk.time.runReady();
  EXPECT_FALSE(shown());
  EXPECT_THAT(mover.commands, IsEmpty());
  EXPECT_THAT(desk.log.events(), IsEmpty());
  relocation->noticeInstallLocation(Placement::translocated);
  relocation->noticeInstallLocation(Placement::translocated);
  EXPECT_EQ(shown(), RelocationState(relocation::Offer{}));
  EXPECT_THAT(desk.log.events(), ElementsAre("WARN translocated_launch"));
  relocation->dismissRelocation();
  EXPECT_FALSE(shown());
}

TEST_F(RelocationTest, MovesAndLeavesOnceTheCopyRuns) {
  move();
  EXPECT_THAT(mover.commands, ElementsAre("/usr/bin/ditto " + bundle.string() + " /Applications/Pell.app"));
  EXPECT_EQ(shown(), RelocationState(relocation::Working{}));
  ASSERT_THAT(mover.opened, ElementsAre(target));
  mover.answerOpening("no permission");
  desk.time.runReady();
  EXPECT_EQ(desk.log.lines("relaunch_failed").at(0)["error"], "no permission");
  EXPECT_EQ(quits, 0) << "this copy runs on";
  EXPECT_EQ(shown(), RelocationState(relocation::Working{}));
  mover.answerOpening(std::nullopt);
  EXPECT_EQ(quits, 0) << "the answer comes on any thread";
  desk.time.runReady();
  EXPECT_EQ(quits, 1);
  EXPECT_THAT(desk.log.events(), ElementsAre("WARN translocated_launch", "INFO relocated_to_applications",
                                             "ERROR relaunch_failed", "INFO relaunched_from_applications"));
}

TEST_F(RelocationTest, SaysWhyItCouldNotMove) {
  struct Case {
    ApplicationMover::Exit exit;
    const char* message;
  };
  for (const auto& [exit, message] : std::vector<Case>{
           {{.launchFailure = "no such tool", .standardError = {}}, "no such tool"},
           {{.launchFailure = {}, .status = 1, .standardError = " \n"}, "ditto exited 1"},
           {{.launchFailure = {}, .status = 1, .standardError = "\xff"}, "ditto exited 1"},
           {{.launchFailure = {}, .status = 2, .standardError = "\tno space left\n"}, "no space left"},
       }) {
    mover.exit = exit;
    desk.log.clear();
    move();
    EXPECT_EQ(shown(), RelocationState(relocation::Failed{message}));
    EXPECT_EQ(desk.log.lines("relocation_failed").at(0)["error"], message);
  }
  mover.thrown = std::make_exception_ptr(std::runtime_error("out of threads"));
  move();
  EXPECT_EQ(shown(), RelocationState(relocation::Failed{"out of threads"}));
  mover.commands.clear();
  mover.present.insert(target);
  move();
  EXPECT_EQ(shown(), RelocationState(relocation::AlreadyInstalled{target}));
  EXPECT_THAT(mover.commands, IsEmpty()) << "an installed copy is not touched";
  EXPECT_EQ(desk.log.lines("relocation_already_installed").at(0)["path"], target.string());
  EXPECT_THAT(mover.opened, IsEmpty());
  const auto content = relocationContent(*shown(), MemoryPlatform::words());
  EXPECT_THAT(content.paragraphs.at(0), HasSubstr(" at /Applications/Pell.app, so "));
}

TEST_F(RelocationTest, MayBeDestroyedAtEveryStep) {
  for (int steps = 0; steps < 8; ++steps) {
    mover.opened.clear();
    relocation.emplace(collaborators);
    relocation->noticeInstallLocation(Placement::translocated);
    {
      TaskScope scope{desk.time.main()};
      scope.spawn(relocation->moveToApplications());
      for (int step = 0; step < steps; ++step) desk.time.step();
    }
    relocation.reset();
    if (!mover.opened.empty()) mover.answerOpening(std::nullopt);
    desk.time.advance(Seconds(1));
  }
  EXPECT_FALSE(mover.opened.empty());
  EXPECT_EQ(quits, 0) << "an answer that comes late ends nothing";
}

}  // namespace
}  // namespace pell::testing
