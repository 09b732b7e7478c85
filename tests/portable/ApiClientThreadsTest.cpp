#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "platform/portable/SystemWallClock.h"
#include "platform/portable/ThreadExecutor.h"
#include "server/ApiClient.h"
#include "stores/Log.h"
#include "support/MemoryLog.h"
#include "support/MemoryUserDefaults.h"

namespace pell {
namespace {

/// Answers every request at once, from a thread of its own.
class HastyServer final : public HttpSession {
 public:
  std::atomic<int> answered = 0;

  void send(HttpRequest, std::function<void(HttpOutcome)> completion) override {
    line_.post([this, completion = std::move(completion)] {
      ++answered;
      completion(HttpResponse{.status = 200,
                              .headers = {},
                              .body = R"({"accessToken":"a","refreshToken":"b","expiresIn":0,)"
                                      R"("user":{"id":"1","email":"e","plan":"p","isAdmin":false}})"});
    });
  }

 private:
  ThreadExecutor line_{"server"};
};

class FixedItemStore final : public SecureItemStore {
 public:
  void copyMatching(const SecureItemKey&, Reply reply) override {
    reply(SecureItemStatus::success, "stored");
  }
  SecureItemStatus add(const SecureItemKey&, const std::string&) override {
    return SecureItemStatus::success;
  }
  SecureItemStatus remove(const SecureItemKey&) override { return SecureItemStatus::success; }
};

Task<> callOver(ApiClient& api, std::atomic<int>& finished) {
  try {
    co_await api.signIn("e", "p");
    co_await api.account();
  } catch (const ApiFailure&) {
    // The account has another shape.
  }
  ++finished;
}

TEST(ApiClientThreadsTest, ClientGoesWhileRepliesArrive) {
  constexpr int callers = 4;
  constexpr int requestsAtLeast = 9;  // a sign-in and an account for each, and a shared refresh
  for (int round = 0; round < 300; ++round) {
    HastyServer server;
    FixedItemStore items;
    testing::MemoryUserDefaults defaults;
    testing::MemoryLog sink;
    const AppConfig config({}, {}, defaults);
    const SystemWallClock clock;
    ThreadExecutor main("main");
    Keychain keychain(items, main, "com.example.test", Log(sink));
    auto api = std::make_unique<ApiClient>(ApiClient::Services{.http = server,
                                                               .keychain = keychain,
                                                               .config = config,
                                                               .clock = clock,
                                                               .executor = threadExecutors()("api")});
    auto scope = std::make_unique<TaskScope>(main);
    std::atomic<int> finished = 0;
    for (int caller = 0; caller < callers; ++caller) scope->spawn(callOver(*api, finished));

    // It goes amid the first, the second, ... reply; now and then after the last.
    const int target = round % (requestsAtLeast + 1);
    while (target == requestsAtLeast ? finished < callers : server.answered < target) {
      std::this_thread::yield();
    }
    std::atomic<bool> gone = false;
    main.post([&] {
      api.reset();
      scope.reset();
      gone = true;
    });
    while (!gone) std::this_thread::yield();
  }
}

}  // namespace
}  // namespace pell
