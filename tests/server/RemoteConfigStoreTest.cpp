#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "server/RemoteConfigSigner.h"
#include "server/RemoteConfigStore.h"
#include "support/Await.h"
#include "support/MemoryHttpSession.h"
#include "support/MemoryLog.h"
#include "support/MemoryUserDefaults.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string march = "2026-03-01T09:30:00.250Z";
const std::string april = "2026-04-01T09:30:00.250Z";

/// One installation that asks for the document, run after run.
class RemoteConfigStoreTest : public ::testing::Test {
 protected:
  VirtualTime time;
  MemoryHttpSession http{time};
  MemoryUserDefaults defaults;
  MemoryLog sink;
  Log log{sink};
  TemporaryDirectory directory;
  RemoteConfigSigner signer;
  BuildInfo build{.apiBaseUrl = "https://api.example.com/base",
                  .allowsApiOverride = true,
                  .remoteConfigPublicKey = signer.publicKey};
  std::optional<AppConfig> config;
  std::unique_ptr<RemoteConfigStore> store;

  RemoteConfigStoreTest() { relaunch(); }

  void relaunch() {
    store.reset();
    config.emplace(build, Locations{.applicationSupport = directory.path(), .scratch = {}}, defaults);
    store = std::make_unique<RemoteConfigStore>(RemoteConfigStore::Services{
        .http = http, .config = *config, .log = log, .executor = time.serialExecutors()("remote-config")});
    sink.clear();
  }

  std::filesystem::path cacheFile() const { return directory.path() / "Pell" / "app-config.json"; }
  std::string cached() const {
    std::ifstream file(cacheFile());
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string issuedAt() {
    const auto payload = await(time, store->current());
    return payload ? payload->issuedAt : "nothing";
  }
  void refresh() { await(time, store->refresh()); }
  void applyMarch() {
    http.reply(200, envelopeJson(signer.sign(documentJson(march))));
    refresh();
    ASSERT_EQ(issuedAt(), march);
    http.requests.clear();
    sink.clear();
  }
};

TEST_F(RemoteConfigStoreTest, DocumentIsFetchedAppliedAndKeptForTheNextRun) {
  http.reply(200, envelopeJson(signer.sign(documentJson(march))));
  refresh();
  ASSERT_EQ(http.requests.size(), 1u);
  EXPECT_EQ(http.requests[0].method + " " + http.requests[0].url,
            "GET https://api.example.com/base/api/v1/app-config");
  EXPECT_THAT(http.requests[0].headers, IsEmpty());
  EXPECT_EQ(issuedAt(), march);
  const auto lines = sink.lines("app_config_applied");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0]["minimum"], "1.2");
  EXPECT_EQ(lines[0]["issued_at"], march);
  struct stat info {};
  ASSERT_EQ(stat(cacheFile().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);

  relaunch();
  EXPECT_EQ(issuedAt(), "nothing");
  await(time, store->loadCached());
  EXPECT_EQ(issuedAt(), march);
  EXPECT_EQ(sink.lines("app_config_cached").at(0)["minimum"], "1.2");
  refresh();  // with the server gone, the cached document stands
  EXPECT_EQ(issuedAt(), march);

  http.reply(200, envelopeJson(signer.sign(documentJson(april, "2"))));
  refresh();
  EXPECT_EQ(issuedAt(), april);
  EXPECT_EQ(await(time, store->current())->minimumSupportedVersion, "2");
}

TEST_F(RemoteConfigStoreTest, WhateverGoesWrongLeavesTheTrustedState) {
  const RemoteConfigSigner stranger(base64(std::string(32, 'x'), sodium_base64_VARIANT_ORIGINAL));
  const auto answer = [](std::optional<int> status, std::string body) {
    return MemoryHttpSession::Reply{
        .outcome = HttpResponse{.status = status, .headers = {}, .body = std::move(body)}};
  };
  const auto good = envelopeJson(signer.sign(documentJson(april)));
  auto altered = signer.sign(documentJson(april));
  altered.payload[20] = altered.payload[20] == 'A' ? 'B' : 'A';
  auto slow = answer(200, good);
  slow.delay = Seconds(5.1);
  struct Case {
    std::string name;
    MemoryHttpSession::Reply reply;
    std::string event;
    nlohmann::json fields = nlohmann::json::object();
  };
  const std::vector<Case> cases{
      {"nobody there", {.outcome = HttpFailure{"no route"}}, "INFO app_config_unreachable"},
      {"slow answer", slow, "INFO app_config_unreachable"},
      {"not found", answer(404, good), "INFO app_config_unavailable", {{"status", 404}}},
      {"another success", answer(203, good), "INFO app_config_unavailable", {{"status", 203}}},
      {"another protocol", answer(std::nullopt, good), "INFO app_config_unavailable", {{"status", 0}}},
      {"a page", answer(200, "<html>"), "INFO app_config_unreachable"},
      {"no key id", answer(200, R"({"payload":"a","signature":"b"})"), "INFO app_config_unreachable"},
      {"oversized body", answer(200, good + std::string(64 * 1024, ' ')), "INFO app_config_unreachable"},
      {"wrong key",
       answer(200, envelopeJson(stranger.sign(documentJson(april)))),
       "WARN app_config_signature_rejected",
       {{"key_id", "k1"}}},
      {"altered byte",
       answer(200, envelopeJson(altered)),
       "WARN app_config_signature_rejected",
       {{"key_id", "k1"}}},
      {"signed nonsense",
       answer(200, envelopeJson(signer.sign("{}"))),
       "WARN app_config_signature_rejected",
       {{"key_id", "k1"}}},
      {"same date",
       answer(200, envelopeJson(signer.sign(documentJson(march, "9")))),
       "INFO app_config_stale",
       {{"issued_at", march}}},
      {"older date",
       answer(200, envelopeJson(signer.sign(documentJson("2026-02-01T00:00:00.0Z", "9")))),
       "INFO app_config_stale",
       {{"issued_at", "2026-02-01T00:00:00.0Z"}}},
  };
  applyMarch();
  const std::string kept = cached();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    http.enqueue(c.reply);
    const Date before = time.now();
    refresh();
    EXPECT_LE(time.now() - before, RemoteConfigStore::refreshTimeout);
    EXPECT_EQ(issuedAt(), march);
    EXPECT_EQ(cached(), kept);
    ASSERT_THAT(sink.events(), ElementsAre(c.event));
    auto fields = sink.lines()[0];
    for (const char* own : {"level", "event"}) fields.erase(own);
    EXPECT_EQ(fields, c.fields);
    sink.clear();
  }
}

TEST_F(RemoteConfigStoreTest, DamagedCachesAreAsGoodAsNone) {
  applyMarch();
  const std::string whole = cached();
  for (const std::string& damaged :
       {std::string(), whole.substr(0, whole.size() / 2), std::string("[]"), std::string("\xFF\xFE", 2)}) {
    relaunch();
    std::ofstream(cacheFile()) << damaged;
    await(time, store->loadCached());
    EXPECT_EQ(issuedAt(), "nothing");
    EXPECT_THAT(sink.events(), IsEmpty());
  }
  std::filesystem::remove(cacheFile());
  std::filesystem::create_directories(cacheFile() / "in the way");
  await(time, store->loadCached());
  EXPECT_EQ(issuedAt(), "nothing");
  http.reply(200, envelopeJson(signer.sign(documentJson(april))));
  refresh();  // cannot be kept, and counts all the same
  EXPECT_EQ(issuedAt(), april);
}

TEST_F(RemoteConfigStoreTest, NobodyIsAskedInVain) {
  defaults.set("apiBaseURL", std::string("http://192.168.1.4:8787"));  // in the clear
  refresh();
  EXPECT_THAT(sink.events(), ElementsAre("INFO app_config_unreachable"));
  build.remoteConfigPublicKey.reset();
  relaunch();
  refresh();
  EXPECT_THAT(sink.events(), ElementsAre("INFO app_config_inert"));
  EXPECT_EQ(sink.lines()[0]["reason"], "no public key compiled in");
  EXPECT_THAT(http.requests, IsEmpty());
}

TEST_F(RemoteConfigStoreTest, OverlappingAnswersNeverTurnTimeBack) {
  TaskScope callers(time.main());
  http.reply(200, envelopeJson(signer.sign(documentJson(march))), Seconds(2));
  http.reply(200, envelopeJson(signer.sign(documentJson(april))), Seconds(1));
  const auto first = start(callers, store->refresh());
  const auto second = start(callers, store->refresh());
  time.advance(Seconds(1.5));
  EXPECT_EQ(issuedAt(), april);
  time.advance(Seconds(2));
  EXPECT_TRUE(first.isDone() && second.isDone());
  EXPECT_EQ(issuedAt(), april);
}

TEST_F(RemoteConfigStoreTest, DestroyedAtAnyStepItWakesNobody) {
  for (int steps = 0; steps < 40; ++steps) {
    relaunch();
    TaskScope callers(time.main());
    http.reply(200, envelopeJson(signer.sign(documentJson(april))), Seconds(1));
    const auto loading = start(callers, store->loadCached());
    const auto refreshing = start(callers, store->refresh());
    for (int step = 0; step < steps; ++step) time.step();
    time.runReady();
    const bool done = refreshing.isDone();
    store.reset();
    time.advance(Seconds(10));
    EXPECT_EQ(refreshing.isDone(), done);
    time.advance(Seconds(10));
  }
}

}  // namespace
}  // namespace pell
