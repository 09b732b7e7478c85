#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "SourceTree.h"
#include "server/RemoteConfig.h"
#include "server/RemoteConfigStore.h"
#include "server/Wire.h"
#include "support/Await.h"
#include "support/MemoryHttpSession.h"
#include "support/MemoryLog.h"
#include "support/MemoryUserDefaults.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::ElementsAre;
namespace fs = std::filesystem;
using Payload = RemoteConfig::Payload;

std::string fixture(const std::string& name) {
  std::ifstream file(sourceTree() / "tests/fixtures/remote-config" / name);
  std::string text(std::istreambuf_iterator<char>(file), {});
  return text.substr(0, text.find_last_not_of('\n') + 1);
}

const std::string march = "2026-03-01T09:30:00.250Z";

TEST(RemoteConfigTest, OnlyWhatTheKeySignedIsAccepted) {
  const auto good = decodeWire<RemoteConfig::Envelope>(fixture("march.json"));
  const std::string key = fixture("public-key");
  const Payload expected{.minimumSupportedVersion = "1.2",
                         .features = {{"celebrations", false}},
                         .message = "Grüße: please update — ¿sí?",
                         .issuedAt = march};
  EXPECT_EQ(RemoteConfig::verify(good, key), expected);
  EXPECT_EQ(decodeWire<Payload>(*RemoteConfig::encode(expected)), expected);
  for (const std::string& other :
       {std::string(), key.substr(4), key.substr(0, 8) + "AAAA" + key.substr(12)}) {
    EXPECT_FALSE(RemoteConfig::verify(good, other)) << other;
  }
  const auto accepted = [&](const std::string& payload, const std::string& signature) {
    return RemoteConfig::verify({.payload = payload, .signature = signature, .keyId = ""}, key).has_value();
  };
  const std::string bare = good.signature.substr(0, good.signature.size() - 2);
  EXPECT_TRUE(accepted(good.payload, bare)) << "padding is optional";
  EXPECT_FALSE(accepted(good.payload + "=", bare)) << "the same bytes, but not the text that was signed";
  EXPECT_FALSE(accepted(good.payload, bare.substr(4)));
  for (std::size_t at = 0; at < good.payload.size(); at += 5) {
    std::string altered = good.payload;
    altered[at] = altered[at] == 'A' ? 'B' : 'A';
    EXPECT_FALSE(accepted(altered, bare)) << at;
  }
}

TEST(RemoteConfigTest, OnlyALaterDocumentReplaces) {
  const auto newer = [](const char* candidate, const char* current) {
    return RemoteConfig::newer({.issuedAt = candidate}, Payload{.issuedAt = current});
  };
  EXPECT_TRUE(newer("2026-03-01T09:30:00.250Z", "2026-03-01T09:30:00.249Z"));
  EXPECT_TRUE(newer("2026-03-01T09:30:00.0Z", "2026-03-01T10:30:00.0+02:00"));
  EXPECT_FALSE(newer("2026-03-01T09:30:00.3Z", "2026-03-01T09:30:00.300Z"));
  EXPECT_FALSE(newer("2026-03-01T09:30:00Z", "2020-01-01T00:00:00.0Z")) << "no fraction";
  EXPECT_TRUE(newer("2020-01-01T00:00:00.0Z", "2026-03-01T09:30:00Z")) << "always beaten";
  EXPECT_TRUE(RemoteConfig::newer({.issuedAt = "soon"}, std::nullopt));
}

TEST(RemoteConfigTest, OnlyAPlainWordBlocksOrSwitchesOff) {
  using Versions = std::pair<const char*, const char*>;  // running and floor
  for (const auto& [running, floor] : {Versions{"1.1.9", "1.2"}, {"1.9", "1.10"}, {"1", "1.0.1"}}) {
    EXPECT_TRUE(RemoteConfig::isBlocked(running, floor)) << running << " under " << floor;
  }
  for (const auto& [running, floor] : {Versions{"1.2.0", "1.2"},
                                       {"2", "2.0.0"},
                                       {"1.0", "1.1-beta"},
                                       {"1-beta", "2"},
                                       {"1.0.0.0", "2"},
                                       {"1.", "2"},
                                       {"", "2"},
                                       {"+1", "2"},
                                       {"1", "99999999999999999999"}}) {
    EXPECT_FALSE(RemoteConfig::isBlocked(running, floor)) << running << " under " << floor;
  }
  const Payload payload{.features = {{"off", false}}};
  EXPECT_FALSE(RemoteConfig::isEnabled("off", payload));
  EXPECT_TRUE(RemoteConfig::isEnabled("another", payload));
  EXPECT_TRUE(RemoteConfig::isEnabled("off", std::nullopt));
}

/// One installation that asks for the document, run after run.
class RemoteConfigStoreTest : public ::testing::Test {
 protected:
  VirtualTime time;
  MemoryHttpSession http{time};
  MemoryUserDefaults defaults;
  MemoryLog sink;
  Log log{sink};
  TemporaryDirectory directory;
  BuildInfo build{.apiBaseUrl = "https://api.example.com/base",
                  .remoteConfigPublicKey = fixture("public-key")};
  std::optional<AppConfig> config;
  std::unique_ptr<RemoteConfigStore> store;
  const fs::path cache = directory.path() / "Pell" / "app-config.json";

  /// Begins a new run and gives what it finds on the disk.
  std::string relaunch() {
    store.reset();
    config.emplace(build, Locations{.applicationSupport = directory.path(), .scratch = {}}, defaults);
    RemoteConfigStore::Services services{
        .http = http, .config = *config, .log = log, .executor = time.serialExecutors()("config")};
    store = std::make_unique<RemoteConfigStore>(std::move(services));
    sink.clear();
    await(time, store->loadCached());
    return held();
  }
  void refresh() { await(time, store->refresh()); }
  std::string held() {
    const auto payload = await(time, store->current());
    return payload ? payload->issuedAt.substr(0, 7) : "nothing";
  }
};

TEST_F(RemoteConfigStoreTest, DocumentIsFetchedAppliedAndKeptForTheNextRun) {
  EXPECT_EQ(relaunch(), "nothing");
  http.reply(200, fixture("march.json"));
  refresh();
  EXPECT_EQ(http.requests.at(0).method + " " + http.requests[0].url,
            "GET https://api.example.com/base/api/v1/app-config");
  const auto line = sink.lines("app_config_applied").at(0);
  EXPECT_EQ(line["minimum"].get<std::string>() + line["issued_at"].get<std::string>(), "1.2" + march);
  EXPECT_EQ(fs::status(cache).permissions(), fs::perms(0600));
  EXPECT_EQ(relaunch(), "2026-03");
  EXPECT_EQ(sink.lines("app_config_cached").at(0)["minimum"], "1.2");

  http.reply(200, fixture("april.json"), Seconds(2));
  http.reply(200, fixture("march.json"), Seconds(3));  // overlaps, and comes later with an older document
  TaskScope callers(time.main());
  start(callers, store->refresh());
  start(callers, store->refresh());
  time.advance(Seconds(1));
  EXPECT_EQ(held(), "2026-03");
  time.advance(Seconds(5));
  EXPECT_EQ(held(), "2026-04");
}

TEST_F(RemoteConfigStoreTest, WhateverGoesWrongLeavesTheTrustedState) {
  using Reply = MemoryHttpSession::Reply;
  const auto reply = [](std::string body, std::optional<int> status = 200, double delay = 0) {
    return Reply{.outcome = HttpResponse{.status = status, .headers = {}, .body = std::move(body)},
                 .delay = Seconds(delay)};
  };
  const std::string good = fixture("april.json");
  std::string altered = good;
  altered[40] = altered[40] == 'A' ? 'B' : 'A';
  struct Case {
    const char* name;
    Reply reply;
    const char* event;  // with its fields
  };
  const std::vector<Case> cases{
      {"nobody there", {.outcome = HttpFailure{"no route"}}, "INFO unreachable"},
      {"slow answer", reply(good, 200, 5.1), "INFO unreachable"},
      {"another success", reply(good, 203), "INFO unavailable 203"},
      {"another protocol", reply(good, std::nullopt), "INFO unavailable 0"},
      {"a page", reply("<html>"), "INFO unreachable"},
      {"oversized body", reply(good + std::string(65536, ' ')), "INFO unreachable"},
      {"wrong key", reply(fixture("stranger.json")), "WARN signature_rejected \"fixture\""},
      {"altered byte", reply(altered), "WARN signature_rejected \"fixture\""},
      {"another text signed", reply(fixture("signed-json.json")), "WARN signature_rejected \"fixture\""},
      {"no document", reply(fixture("no-version.json")), "WARN signature_rejected \"fixture\""},
      {"same date", reply(fixture("march.json")), "INFO stale \"2026-03-01T09:30:00.250Z\""},
      {"older date", reply(fixture("february.json")), "INFO stale \"2026-02-01T00:00:00.0Z\""}};
  relaunch();
  http.reply(200, fixture("march.json"));
  refresh();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(relaunch(), "2026-03");
    sink.clear();
    http.enqueue(c.reply);
    refresh();
    EXPECT_EQ(held(), "2026-03");
    ASSERT_EQ(sink.lines().size(), 1u);
    std::string told = sink.events()[0].replace(5, std::string("app_config_").size(), "");
    for (const char* field : {"status", "key_id", "issued_at"}) {
      if (sink.lines()[0].contains(field)) told += " " + sink.lines()[0][field].dump();
    }
    EXPECT_EQ(told, c.event);
  }
  EXPECT_EQ(relaunch(), "2026-03");
}

TEST_F(RemoteConfigStoreTest, DamagedCachesAreAsGoodAsNone) {
  fs::create_directories(cache / "in the way");
  EXPECT_EQ(relaunch(), "nothing");
  http.reply(200, fixture("april.json"));
  refresh();  // cannot be kept, and counts all the same
  EXPECT_EQ(held(), "2026-04");
  fs::remove_all(cache);
  for (const char* damaged : {"", "{\"minimumSupportedVersion\":\"1.2\"", "[]", "\xFF"}) {
    std::ofstream(cache) << damaged;
    EXPECT_EQ(relaunch(), "nothing");
    EXPECT_TRUE(sink.events().empty());
  }
  build.apiBaseUrl = "http://192.168.1.4:8787";  // nobody is asked in the clear,
  relaunch();
  refresh();
  EXPECT_THAT(sink.events(), ElementsAre("INFO app_config_unreachable"));
  build.remoteConfigPublicKey.reset();  // nor without a key
  relaunch();
  refresh();
  EXPECT_THAT(sink.events(), ElementsAre("INFO app_config_inert"));
  EXPECT_EQ(http.requests.size(), 1u);
}

TEST_F(RemoteConfigStoreTest, DestroyedAtAnyStepItWakesNobody) {
  for (int steps = 0; steps < 30; ++steps) {
    relaunch();
    TaskScope callers(time.main());
    http.reply(200, fixture("april.json"), Seconds(1));
    const auto refreshing = start(callers, store->refresh());
    for (int step = 0; step < steps; ++step) time.step();
    time.runReady();
    const bool done = refreshing.isDone();
    store.reset();
    time.advance(Seconds(20));
    EXPECT_EQ(refreshing.isDone(), done);
  }
}

}  // namespace
}  // namespace pell
