#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

#include "linux/RealLoop.h"
#include "platform/linux/DesktopSettings.h"
#include "platform/linux/LinuxInstallation.h"
#include "stores/Log.h"
#include "support/MemoryLog.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;
using Page = DesktopSettings::Page;

/// Programs that write down how they were started.
class DesktopSettingsTest : public ::testing::Test {
 protected:
  /// What was started, with its arguments; empty if nothing was.
  std::string opened(const std::string& desktops, const std::set<std::string>& installed, Page page) {
    fs::remove(started());
    auto find = [&](const std::string& program) {
      return installed.contains(program) ? script(program) : "";
    };
    DesktopSettings settings({.desktops = desktops, .find = find}, log_);
    if (!settings.open(page)) return "";
    std::string line;
    EXPECT_TRUE(
        loop_.runUntil([&] { return std::getline(std::ifstream(started()), line).good(); }, Seconds(5)));
    return line;
  }

  MemoryLog lines;

 private:
  fs::path started() const { return folder_.path() / "started"; }
  std::string script(const std::string& program) {
    const fs::path file = folder_.path() / program;
    std::ofstream(file) << "#!/bin/sh\necho \"${0##*/} $*\" > '" << started().string() << "'\n";
    fs::permissions(file, fs::perms::owner_all);
    return file.string();
  }

  TemporaryDirectory folder_;
  RealLoop loop_;
  Log log_{lines};
};

TEST_F(DesktopSettingsTest, OpensThePageOfTheDesktopOrWhatThereIs) {
  const std::set<std::string> all{"gnome-control-center", "budgie-control-center",
                                  "systemsettings5",      "xfce4-accessibility-settings",
                                  "pavucontrol",          "cinnamon-settings"};
  struct Case {
    const char* desktops;
    std::set<std::string> installed;
    Page page;
    std::string started;
  };
  for (const auto& [desktops, installed, page, started] : std::vector<Case>{
           {"GNOME", all, Page::accessibility, "gnome-control-center universal-access"},
           {"ubuntu:GNOME", all, Page::microphone, "gnome-control-center microphone"},
           {"Budgie:GNOME", all, Page::accessibility, "budgie-control-center universal-access"},
           {"KDE", all, Page::accessibility, "systemsettings5 kcm_access"},
           {"XFCE", all, Page::accessibility, "xfce4-accessibility-settings "},
           {"X-Cinnamon", all, Page::microphone, "cinnamon-settings sound"},
           {"GNOME", {"pavucontrol"}, Page::microphone, "pavucontrol --tab=4"},
           {"", all, Page::microphone, "pavucontrol --tab=4"},
           {"GNOME-like", {"gnome-control-center"}, Page::microphone, ""},
       }) {
    EXPECT_EQ(opened(desktops, installed, page), started) << desktops;
  }
  const auto told = lines.lines("settings_page_unavailable");
  ASSERT_EQ(told.size(), 1u);
  EXPECT_EQ(told[0]["page"], "microphone");
  EXPECT_EQ(told[0]["desktop"], "GNOME-like");
}

TEST(DesktopSettingsPage, IsKnownByItsAddress) {
  const std::string privacy = "x-apple.systempreferences:com.apple.preference.security?Privacy_";
  EXPECT_EQ(DesktopSettings::pageOf(privacy + "Accessibility"), Page::accessibility);
  EXPECT_EQ(DesktopSettings::pageOf(privacy + "Microphone"), Page::microphone);
  EXPECT_EQ(DesktopSettings::pageOf("https://example.org/?Privacy_Microphone"), std::nullopt);
}

TEST(LinuxInstallationTest, WhatAPackageInstalledIsAnApplication) {
  struct Case {
    const char* path;
    bool isInFlatpak;
    Placement placement;
  };
  for (const auto& [path, isInFlatpak, placement] : std::vector<Case>{
           {"/usr/bin/pell", false, Placement::applications},
           {"/opt/pell/bin/pell", false, Placement::applications},
           {"/app/bin/pell", true, Placement::applications},
           {"/app/bin/pell", false, Placement::elsewhere},
           {"/srv/usr/bin/pell", false, Placement::elsewhere},
           {"/usr/../srv/pell", false, Placement::elsewhere},
           {"/srv/AppTranslocation/pell", false, Placement::elsewhere},
       }) {
    EXPECT_EQ(linuxPlacement(path, isInFlatpak), placement) << path;
  }
  EXPECT_EQ(linuxInstallation().bundle, fs::read_symlink("/proc/self/exe"));
  EXPECT_EQ(linuxInstallation().mover, nullptr) << "nothing is moved here";
}

}  // namespace
}  // namespace pell::testing
