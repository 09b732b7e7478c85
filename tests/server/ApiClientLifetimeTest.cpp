#include <gtest/gtest.h>

#include "server/ApiClientFixture.h"

namespace pell {
namespace {

using namespace pell::testing;

/// Every road through the client at once: a refresh with waiters, a slow keychain, an upload, a sign-out.
struct BusyWorld : ApiWorld {
  int finished = 0;
  std::optional<TaskScope> watchers{std::in_place, time.main()};

  BusyWorld() {
    storeRefreshToken("stored");
    items.delay = Seconds(0.5);
    http.reply(200, sessionJson("renewed"), Seconds(1));
    http.responder = [](const HttpRequest&) {
      return MemoryHttpSession::Reply{
          .outcome = HttpResponse{.status = 200, .headers = {}, .body = accountJson}, .delay = Seconds(1)};
    };
    begin(api->account());
    begin(api->account());
    begin(transcribe());
    begin(api->signIn("a", "b"));
    begin(api->signOut());
  }

  template <class T>
  void begin(Task<T> task) {
    watchers->spawn(watch(std::move(task)));
  }

  template <class T>
  Task<> watch(Task<T> task) {
    try {
      co_await std::move(task);
    } catch (const ApiFailure&) {
      // A reply of another shape is as good as any here.
    }
    ++finished;
  }
};

TEST(ApiClientLifetimeTest, DestroyedAtEveryStepTheClientWakesNobody) {
  int steps = 0;
  for (bool more = true; more; ++steps) {
    BusyWorld world;
    more = true;
    for (int step = 0; step < steps && more; ++step) more = world.time.step();
    const int before = world.finished;
    world.time.runReady();  // outcomes that were on their way arrive
    world.api.reset();
    const int after = world.finished;
    EXPECT_GE(after, before);
    world.time.advance(Seconds(1000));
    EXPECT_EQ(world.finished, after) << "after " << steps << " steps";
    if (!more) {
      EXPECT_EQ(after, 5);
    }
  }
  EXPECT_GT(steps, 20);
}

TEST(ApiClientLifetimeTest, CallersMayGoFirst) {
  constexpr int stepsToBegin = 6;  // the handler's and one for each call
  for (int steps = 0; steps < 60; ++steps) {
    BusyWorld world;
    for (int step = 0; step < steps; ++step) world.time.step();
    world.watchers.reset();
    const int before = world.finished;
    world.time.advance(Seconds(1000));
    EXPECT_EQ(world.finished, before);
    // Once begun, the sign-out runs to its end although nobody waits for it any longer.
    if (steps >= stepsToBegin) {
      EXPECT_EQ(world.refreshToken(), std::nullopt);
    }
  }
}

}  // namespace
}  // namespace pell
