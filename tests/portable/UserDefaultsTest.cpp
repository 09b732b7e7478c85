#include <fstream>
#include <sstream>
#include <sys/stat.h>

#include "contracts/UserDefaultsContract.h"
#include "platform/portable/JsonUserDefaults.h"
#include "portable/support/RealTime.h"
#include "support/MemoryLog.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class JsonWorld final : public RealTime<UserDefaultsWorld> {
 public:
  JsonWorld() { reopen(); }
  UserDefaults& defaults() override { return *defaults_; }
  void reopen() override {
    defaults_ = std::make_unique<JsonUserDefaults>(directory_.path() / "Pell" / "defaults.json", Log(sink_));
  }

 private:
  TemporaryDirectory directory_;
  MemoryLog sink_;
  std::unique_ptr<UserDefaults> defaults_;
};

PELL_INSTANTIATE_CONTRACT(Json, UserDefaultsContract, UserDefaultsWorld, JsonWorld);

class JsonUserDefaultsTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory;
  fs::path folder = directory.path() / "config" / "Pell";
  fs::path file = folder / "defaults.json";
  MemoryLog sink;

  JsonUserDefaults open() { return {file, Log(sink)}; }

  void put(const std::string& text) {
    fs::create_directories(folder);
    std::ofstream(file, std::ios::binary) << text;
  }
  static std::string content(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  static unsigned mode(const fs::path& path) { return static_cast<unsigned>(fs::status(path).permissions()); }
};

TEST_F(JsonUserDefaultsTest, KeepsADamagedFileAsideAndGoesOn) {
  const std::vector<std::string> damages{
      "", "{\"a\": 1", "[1, 2]", "\xFF\xFE\x00", "{\"a\": 1} trailing", std::string(100'000, '[')};
  for (std::size_t index = 0; index < damages.size(); ++index) {
    put(damages[index]);
    auto defaults = open();
    EXPECT_EQ(defaults.get("a"), std::nullopt);
    EXPECT_EQ(sink.count("defaults_damaged"), index + 1);
    EXPECT_EQ(content(file), damages[index]) << "whoever only reads leaves it";
    defaults.set("a", std::int64_t{2});
    EXPECT_EQ(open().value<std::int64_t>("a"), 2);
    const auto kept = "defaults.json.damaged-" + std::to_string(index + 1);
    EXPECT_EQ(content(folder / kept), damages[index]);
    ASSERT_EQ(sink.count("defaults_moved_aside"), index + 1);
    EXPECT_EQ(sink.lines("defaults_moved_aside").back().at("kept"), kept);
  }
}

TEST_F(JsonUserDefaultsTest, LeavesWhatItDoesNotUnderstandInTheFile) {
  put(R"({"later": [1, {"deep": null}], "nested": {"a": {"b": 1}}, "none": null, "huge": 18446744073709551615,
          "map": {"a": "b"}, "mixed": {"a": "b", "c": 1}, "bytes": {"$data": "not base64!"}, "flag": true})");
  auto defaults = open();
  for (auto key : {"later", "nested", "none", "huge", "mixed", "bytes"})
    EXPECT_EQ(defaults.get(key), std::nullopt) << key;
  EXPECT_EQ(defaults.get("map"), DefaultsValue(DefaultsDictionary{{"a", "b"}}));
  const auto before = nlohmann::json::parse(content(file));
  defaults.set("flag", false);
  auto after = nlohmann::json::parse(content(file));
  EXPECT_EQ(after["flag"], false);
  after["flag"] = true;
  EXPECT_EQ(after, before);
}

TEST_F(JsonUserDefaultsTest, NoDictionaryIsTakenForBytes) {
  for (const std::string key : {"$data", "$$data", "$", "$other"}) {
    const DefaultsValue value = DefaultsDictionary{{key, "QUJD"}};
    open().set("rules", value);
    EXPECT_EQ(open().get("rules"), value) << key;
  }
}

TEST_F(JsonUserDefaultsTest, KeepsInMemoryWhatCannotBeWritten) {
  put(R"({"old": "stays"})");
  fs::create_directories(folder / "defaults.json.new");  // in the way of every write
  auto defaults = open();
  defaults.set("one", true);
  defaults.set("two", std::int64_t{2});
  EXPECT_EQ(defaults.value<bool>("one"), true);
  EXPECT_EQ(content(file), R"({"old": "stays"})");
  EXPECT_EQ(sink.count("defaults_write_failed"), 1u) << "once per run of failures";

  fs::remove(folder / "defaults.json.new");
  defaults.set("two", std::int64_t{2});
  EXPECT_EQ(open().value<bool>("one"), true) << "the next write brings what is missing";
  fs::create_directories(folder / "defaults.json.new");
  defaults.remove("one");
  EXPECT_EQ(sink.count("defaults_write_failed"), 2u);
}

TEST_F(JsonUserDefaultsTest, TheFileIsTheUsersAloneAndALinkStaysALink) {
  open().set("a", true);
  EXPECT_EQ(mode(file), 0600u);
  EXPECT_EQ(mode(folder), 0700u);
  const auto real = directory.path() / "dotfiles.json";
  fs::rename(file, real);
  fs::create_symlink(real, file);
  open().set("b", true);
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_THAT(content(real), ::testing::HasSubstr("\"b\": true"));
}

TEST_F(JsonUserDefaultsTest, ReadsNothingThatCouldBlockForEver) {
  fs::create_directories(folder);
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  auto defaults = open();
  defaults.set("a", true);
  EXPECT_EQ(open().value<bool>("a"), true);
}

TEST_F(JsonUserDefaultsTest, MayBeReadFromOtherThreadsMeanwhile) {
  auto defaults = open();
  defaults.set("n", std::int64_t{0});
  std::jthread reader([&](std::stop_token stop) {
    while (!stop.stop_requested()) EXPECT_GE(defaults.value<std::int64_t>("n").value_or(-1), 0);
  });
  for (std::int64_t n = 1; n <= 50; ++n) defaults.set("n", n);
}

}  // namespace
}  // namespace pell::testing
