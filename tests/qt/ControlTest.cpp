#include <QCoreApplication>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "main/ControlClient.h"
#include "main/ControlServer.h"
#include "main/InstanceLock.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

class ControlTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory folder;
  std::filesystem::path socket = folder.path() / "control";

  /// Asks from another thread, as another process would, while the event loop runs here.
  std::optional<ControlReply> ask(const ControlRequest& request, Seconds limit = Seconds(5)) {
    auto answer = std::async(std::launch::async, [&] { return askRunningInstance(socket, request, limit); });
    while (answer.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      QCoreApplication::processEvents();
    }
    return answer.get();
  }
};

TEST_F(ControlTest, OneProcessAnswersAnother) {
  std::vector<ControlRequest> heard;
  ControlServer server([&](const ControlRequest& request, ControlServer::Answer answer) {
    heard.push_back(request);
    answer({.ok = true, .message = "yes\nindeed"});
  });
  ASSERT_TRUE(server.listen(socket));
  struct stat info {};
  ASSERT_EQ(::stat(socket.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0077, 0u);
  ControlRequest request{.command = "register", .argument = "a@b.c", .password = "pass word"};
  EXPECT_EQ(ask(request), (ControlReply{true, "yes\nindeed"}));
  EXPECT_EQ(heard, std::vector{request});
}

TEST_F(ControlTest, NobodyThereAndNobodyAnsweringBothEnd) {
  EXPECT_EQ(ask({.command = "activate"}), std::nullopt);
  std::vector<ControlServer::Answer> kept;
  {
    ControlServer server(
        [&](const ControlRequest&, ControlServer::Answer answer) { kept.push_back(answer); });
    ASSERT_TRUE(server.listen(socket));
    EXPECT_EQ(ask({.command = "activate"}, Seconds(0.05)), std::nullopt);
  }
  ASSERT_EQ(kept.size(), 1u);
  kept[0]({.ok = true, .message = {}});  // the client and the server have gone
}

TEST_F(ControlTest, ASocketLeftByACrashIsTakenOver) {
  pid_t child = ::fork();
  if (child == 0) {
    ControlServer* dying = new ControlServer([](const ControlRequest&, ControlServer::Answer) {});
    ::_exit(dying->listen(socket) ? 0 : 1);
  }
  int status = 1;
  ::waitpid(child, &status, 0);
  ASSERT_EQ(status, 0);
  ASSERT_TRUE(std::filesystem::exists(socket));
  ControlServer server(
      [](const ControlRequest&, ControlServer::Answer answer) { answer({.ok = true, .message = {}}); });
  ASSERT_TRUE(server.listen(socket));
  EXPECT_TRUE(ask({.command = "activate"}));
}

TEST_F(ControlTest, TheLockIsHeldByOneAtATime) {
  using State = InstanceLock::State;
  auto file = folder.path() / "lock";
  {
    InstanceLock first(file);
    EXPECT_EQ(first.state(), State::held);
    EXPECT_EQ(InstanceLock(file).state(), State::taken);
  }
  EXPECT_EQ(InstanceLock(file).state(), State::held);
  EXPECT_EQ(InstanceLock(folder.path()).state(), State::unavailable);
}

}  // namespace
}  // namespace pell
