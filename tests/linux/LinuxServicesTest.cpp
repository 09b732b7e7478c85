#include <fcntl.h>
#include <fstream>
#include <gio/gunixfdlist.h>
#include <poll.h>
#include <unistd.h>

#include "contracts/ServicesContract.h"
#include "linux/BusName.h"
#include "linux/RealLoop.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/JournalLogSink.h"
#include "platform/linux/LogindActivity.h"
#include "platform/linux/TimeZoneWatch.h"
#include "portable/support/RealTime.h"
#include "support/MemoryLog.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

class JournalWorld final : public RealTime<LogSinkWorld> {
 public:
  LogSink& sink() override { return sink_; }
  std::vector<std::string> lines() override {
    std::vector<std::string> lines;
    for (const auto& entry : entries.all()) lines.push_back(entry.at(0).substr(sizeof "MESSAGE=" - 1));
    return lines;
  }

  Inbox<std::vector<std::string>> entries;
  MemoryLog passedOn;

 private:
  JournalLogSink sink_{passedOn, [this](const std::vector<std::string>& fields) { entries.put(fields); }};
};

PELL_INSTANTIATE_CONTRACT(Journal, LogSinkContract, LogSinkWorld, JournalWorld);

TEST(JournalLogSinkTest, TellsTheJournalWhoSpeaksAndHowUrgently) {
  JournalWorld world;
  world.sink().write(LogLevel::info, "{}");
  world.sink().write(LogLevel::warn, "{}");
  using ::testing::ElementsAre;
  EXPECT_THAT(world.entries.all(),
              ElementsAre(ElementsAre("MESSAGE={}", "PRIORITY=6", "SYSLOG_IDENTIFIER=com.pell.dictation"),
                          ElementsAre("MESSAGE={}", "PRIORITY=3", "SYSLOG_IDENTIFIER=com.pell.dictation")));
  EXPECT_EQ(world.passedOn.lines().size(), 2u);
}

/// The login manager: gives out locks, and counts those that are still held.
class LoginManager {
 public:
  LoginManager() {
    name_.serve("/org/freedesktop/login1", R"(<node><interface name="org.freedesktop.login1.Manager">
        <method name="Inhibit"><arg type="s" direction="in"/><arg type="s" direction="in"/>
        <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="h" direction="out"/></method>
        </interface></node>)",
                [this](const std::string&, GDBusMethodInvocation* invocation) { inhibit(invocation); });
  }
  ~LoginManager() {
    for (int end : held_.all()) close(end);
  }

  int held() {
    int count = 0;
    for (int end : held_.all()) {
      pollfd state{.fd = end, .events = 0, .revents = 0};
      poll(&state, 1, 0);
      count += (state.revents & POLLHUP) == 0;
    }
    return count;
  }
  std::vector<std::string> requests() const { return requests_.all(); }

  /// The next requests are answered late.
  void delay(std::chrono::milliseconds span) { delay_ = span; }

 private:
  void inhibit(GDBusMethodInvocation* invocation) {
    std::this_thread::sleep_for(delay_.load());
    GLibPtr<char> arguments(g_variant_print(g_dbus_method_invocation_get_parameters(invocation), FALSE));
    requests_.put(arguments.get());
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    held_.put(ends[0]);
    GUnixFDList* list = g_unix_fd_list_new_from_array(&ends[1], 1);  // takes the end over
    g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0), list);
    g_object_unref(list);
  }

  std::atomic<std::chrono::milliseconds> delay_{std::chrono::milliseconds(0)};
  Inbox<int> held_;
  Inbox<std::string> requests_;
  BusName name_{"org.freedesktop.login1"};
};

class LogindWorld final : public RealTime<SystemActivityWorld> {
 public:
  SystemActivity& activity() override { return activity_; }
  int held() override { return manager.held(); }

  LoginManager manager;

 private:
  LogindActivity activity_{G_BUS_TYPE_SESSION};
};

PELL_INSTANTIATE_CONTRACT(Logind, SystemActivityContract, SystemActivityWorld, LogindWorld);

TEST(LogindActivityTest, BlocksIdlingAloneAndHoldsNothingThatEndedBeforeTheAnswer) {
  LogindWorld world;
  world.manager.delay(std::chrono::milliseconds(100));
  const auto start = world.now();
  world.activity().begin("Dictation in progress").reset();
  EXPECT_LT(Seconds(world.now() - start).count(), 0.05);
  ASSERT_TRUE(world.waitUntil([&] { return world.manager.requests().size() == 1; }));
  EXPECT_TRUE(world.waitUntil([&] { return world.held() == 0; }));
  EXPECT_EQ(world.manager.requests().front(), "('idle', 'Pell', 'Dictation in progress', 'block')");
}

TEST(LogindActivityTest, LivesWithoutALoginManager) {
  LogindActivity activity(G_BUS_TYPE_SESSION);
  for (int round = 0; round < 10; ++round) EXPECT_NE(activity.begin("Dictation in progress"), nullptr);
}

class AutostartWorld final : public RealTime<LoginItemWorld> {
 public:
  AutostartWorld() { reopen(); }
  LoginItem& item() override { return *item_; }
  void reopen() override {
    item_ = std::make_unique<AutostartLoginItem>(directory_.path(), "/opt/with space/100% \"$pell\\\"");
  }
  void forbidChanges() override { std::ofstream(directory_.path() / "autostart") << "in the way"; }

  fs::path entry() const { return directory_.path() / "autostart" / "com.pell.dictation.desktop"; }

 private:
  TemporaryDirectory directory_;
  std::unique_ptr<LoginItem> item_;
};

PELL_INSTANTIATE_CONTRACT(Autostart, LoginItemContract, LoginItemWorld, AutostartWorld);

TEST(AutostartLoginItemTest, SeesWhatOthersDidToTheEntry) {
  AutostartWorld world;
  world.item().setRegistered(true);
  for (const std::string line : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
    std::ofstream(world.entry(), std::ios::app) << line << "\n";
    EXPECT_EQ(world.item().status(), 2) << line;
    EXPECT_EQ(world.item().setRegistered(true), "");
    EXPECT_EQ(world.item().status(), 1) << line;
  }
  std::ofstream(world.entry()) << "no desktop entry";
  EXPECT_NE(world.item().status(), 1);
}

TEST(AutostartLoginItemTest, StartsThePathWhateverIsInIt) {
  AutostartWorld world;
  world.item().setRegistered(true);
  std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(), g_key_file_unref);
  ASSERT_TRUE(g_key_file_load_from_file(file.get(), world.entry().c_str(), G_KEY_FILE_NONE, nullptr));
  GLibPtr<char> exec(g_key_file_get_string(file.get(), "Desktop Entry", "Exec", nullptr));
  ASSERT_NE(exec, nullptr);
  int count = 0;
  char** arguments = nullptr;
  ASSERT_TRUE(g_shell_parse_argv(exec.get(), &count, &arguments, nullptr));
  ASSERT_EQ(count, 1);
  EXPECT_STREQ(arguments[0], "/opt/with space/100%% \"$pell\\\"");
  g_strfreev(arguments);
}

TEST(TimeZoneWatchTest, HearsOfTheFileAndOfTheBus) {
  TemporaryDirectory directory;
  const auto file = directory.path() / "localtime";
  fs::create_symlink("/usr/share/zoneinfo/Europe/Berlin", file);
  BusName service("org.freedesktop.timedate1");
  RealLoop loop;
  int changes = 0;
  TimeZoneWatch watch(loop, [&] { ++changes; }, {.localTime = file, .bus = G_BUS_TYPE_SESSION});
  loop.runFor(Seconds(0.2));

  const auto fresh = directory.path() / "fresh";
  fs::create_symlink("/usr/share/zoneinfo/Asia/Kolkata", fresh);
  fs::rename(fresh, file);
  EXPECT_TRUE(loop.runUntil([&] { return changes == 1; }, Seconds(5)));

  service.emit("/org/freedesktop/timedate1", "org.freedesktop.DBus.Properties", "PropertiesChanged",
               g_variant_new_parsed("('org.freedesktop.timedate1', {'Timezone': <'Asia/Kolkata'>}, @as [])"));
  EXPECT_TRUE(loop.runUntil([&] { return changes == 2; }, Seconds(5)));
}

}  // namespace
}  // namespace pell::testing
