#include "platform/linux/DesktopSettings.h"

#include <array>
#include <cstdlib>
#include <gio/gio.h>
#include <utility>

#include "platform/linux/GLibPtr.h"
#include "stores/Log.h"

namespace pell {
namespace {

struct Programs {
  std::string_view desktop;  // as XDG_CURRENT_DESKTOP names it; empty for what works on every desktop
  const char* accessibility;
  const char* microphone;
};

constexpr std::array programs{
    Programs{"Budgie", "budgie-control-center universal-access", "budgie-control-center microphone"},
    Programs{"Unity", "unity-control-center universal-access", "unity-control-center sound"},
    Programs{"GNOME", "gnome-control-center universal-access", "gnome-control-center microphone"},
    Programs{"KDE", "systemsettings kcm_access", "systemsettings kcm_pulseaudio"},
    Programs{"KDE", "systemsettings5 kcm_access", "systemsettings5 kcm_pulseaudio"},
    Programs{"XFCE", "xfce4-accessibility-settings", "pavucontrol --tab=4"},
    Programs{"X-Cinnamon", "cinnamon-settings accessibility", "cinnamon-settings sound"},
    Programs{"MATE", "mate-at-properties", "mate-volume-control"},
    Programs{"LXQt", "", "pavucontrol-qt --tab=4"},
    Programs{"", "xfce4-accessibility-settings", "pavucontrol --tab=4"},
    Programs{"", "mate-at-properties", "pavucontrol-qt --tab=4"},
};

/// Whether `name` is one of the names between the colons.
bool names(std::string_view desktops, std::string_view name) {
  return (":" + std::string(desktops) + ":").find(":" + std::string(name) + ":") != std::string::npos;
}

const char* word(DesktopSettings::Page page) {
  return page == DesktopSettings::Page::accessibility ? "accessibility" : "microphone";
}

}  // namespace

DesktopSettings::Environment DesktopSettings::thisSession() {
  const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
  return {.desktops = desktops ? desktops : "", .find = [](const std::string& program) {
            GLibPtr<char> path(g_find_program_in_path(program.c_str()));
            return std::string(path ? path.get() : "");
          }};
}

DesktopSettings::DesktopSettings(Environment environment, const Log& log)
    : environment_(std::move(environment)), log_(log) {}

std::optional<DesktopSettings::Page> DesktopSettings::pageOf(std::string_view address) {
  constexpr std::string_view privacy = "x-apple.systempreferences:com.apple.preference.security?Privacy_";
  if (!address.starts_with(privacy)) return std::nullopt;
  address.remove_prefix(privacy.size());
  if (address == "Accessibility") return Page::accessibility;
  if (address == "Microphone") return Page::microphone;
  return std::nullopt;
}

std::string DesktopSettings::commandFor(Page page) const {
  for (const auto& row : programs) {
    if (!row.desktop.empty() && !names(environment_.desktops, row.desktop)) continue;
    const std::string command = page == Page::accessibility ? row.accessibility : row.microphone;
    const auto blank = command.find(' ');
    const std::string path = command.empty() ? "" : environment_.find(command.substr(0, blank));
    if (path.empty()) continue;
    GLibPtr<char> quoted(g_shell_quote(path.c_str()));
    return quoted.get() + (blank == std::string::npos ? "" : command.substr(blank));
  }
  return {};
}

bool DesktopSettings::open(Page page) const {
  const std::string command = commandFor(page);
  if (command.empty()) {
    log_.warn("settings_page_unavailable", {{"page", word(page)}, {"desktop", environment_.desktops}});
    return false;
  }
  GError* failure = nullptr;
  GAppInfo* program =
      g_app_info_create_from_commandline(command.c_str(), nullptr, G_APP_INFO_CREATE_NONE, &failure);
  const bool started = program && g_app_info_launch(program, nullptr, nullptr, &failure);
  if (program) g_object_unref(program);
  GLibPtr<GError> error(failure);
  if (!started) {
    log_.warn("settings_page_failed", {{"page", word(page)}, {"message", error ? error->message : ""}});
  }
  return started;
}

}  // namespace pell
