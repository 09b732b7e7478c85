#include "platform/linux/ApplicationIdentity.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <initializer_list>
#include <system_error>

namespace pell {

namespace fs = std::filesystem;

namespace {

struct Alias {
  std::string_view linuxIdentifier;  // lower case
  std::string_view common;
};

// Desktop-entry ids, Flatpak ids and window classes, for applications that exist on other platforms too.
constexpr std::array aliases{
    Alias{"slack", "com.tinyspeck.slackmacgap"},
    Alias{"com.slack.slack", "com.tinyspeck.slackmacgap"},
    Alias{"slack_slack", "com.tinyspeck.slackmacgap"},
    Alias{"code", "com.microsoft.VSCode"},
    Alias{"code-url-handler", "com.microsoft.VSCode"},
    Alias{"code_code", "com.microsoft.VSCode"},
    Alias{"com.visualstudio.code", "com.microsoft.VSCode"},
    Alias{"code-insiders", "com.microsoft.VSCode"},
    Alias{"code-insiders_code-insiders", "com.microsoft.VSCode"},
    Alias{"code-oss", "com.microsoft.VSCode"},
    Alias{"com.visualstudio.code.oss", "com.microsoft.VSCode"},
    Alias{"zoom", "us.zoom.xos"},
    Alias{"us.zoom.zoom", "us.zoom.xos"},
    Alias{"zoom-client_zoom-client", "us.zoom.xos"},
    Alias{"google-chrome", "com.google.Chrome"},
    Alias{"google-chrome-stable", "com.google.Chrome"},
    Alias{"com.google.chrome", "com.google.Chrome"},
    Alias{"google-chrome-beta", "com.google.Chrome.beta"},
    Alias{"google-chrome-unstable", "com.google.Chrome.canary"},
    Alias{"com.google.chromedev", "com.google.Chrome.canary"},
    Alias{"microsoft-edge", "com.microsoft.edgemac"},
    Alias{"microsoft-edge-stable", "com.microsoft.edgemac"},
    Alias{"com.microsoft.edge", "com.microsoft.edgemac"},
    Alias{"microsoft-edge-beta", "com.microsoft.edgemac"},
    Alias{"microsoft-edge-dev", "com.microsoft.edgemac"},
    Alias{"com.microsoft.edgedev", "com.microsoft.edgemac"},
    Alias{"brave-browser", "com.brave.Browser"},
    Alias{"com.brave.browser", "com.brave.Browser"},
    Alias{"brave_brave", "com.brave.Browser"},
    Alias{"brave-browser-beta", "com.brave.Browser"},
    Alias{"brave-browser-nightly", "com.brave.Browser"},
    Alias{"vivaldi", "com.vivaldi.Vivaldi"},
    Alias{"vivaldi-stable", "com.vivaldi.Vivaldi"},
    Alias{"com.vivaldi.vivaldi", "com.vivaldi.Vivaldi"},
    Alias{"vivaldi_vivaldi-stable", "com.vivaldi.Vivaldi"},
    Alias{"vivaldi-snapshot", "com.vivaldi.Vivaldi"},
    Alias{"opera", "com.operasoftware.Opera"},
    Alias{"opera_opera", "com.operasoftware.Opera"},
    Alias{"com.opera.opera", "com.operasoftware.Opera"},
    Alias{"opera-beta", "com.operasoftware.Opera"},
    Alias{"opera-developer", "com.operasoftware.Opera"},
    Alias{"whatsapp", "net.whatsapp.WhatsApp"},
    Alias{"whatsapp-desktop", "net.whatsapp.WhatsApp"},
    Alias{"com.rtosta.zapzap", "net.whatsapp.WhatsApp"},
    Alias{"whatsdesk_whatsdesk", "net.whatsapp.WhatsApp"},
    Alias{"com.github.eneshecan.whatsappforlinux", "net.whatsapp.WhatsApp"},
    Alias{"notion", "notion.id"},
    Alias{"notion-app", "notion.id"},
    Alias{"notion-desktop", "notion.id"},
    Alias{"notion-app-enhanced", "notion.id"},
    Alias{"io.github.brunofin.cohesion", "notion.id"},
    Alias{"claude", "com.anthropic.claudefordesktop"},
    Alias{"claude-desktop", "com.anthropic.claudefordesktop"},
};

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

// Whether one of the window's own names is among these.
bool isOneOf(const WindowIdentity& window, std::initializer_list<std::string_view> names) {
  for (const auto& own : {window.applicationId, window.className, window.instanceName, window.program}) {
    std::string name = lower(own);
    if (std::any_of(names.begin(), names.end(), [&](std::string_view known) { return name == known; }))
      return true;
  }
  return false;
}

}  // namespace

std::string commonIdentifier(std::string_view linuxIdentifier) {
  std::string key = lower(linuxIdentifier);
  for (const auto& alias : aliases) {
    if (alias.linuxIdentifier == key) return std::string(alias.common);
  }
  return std::string(linuxIdentifier);
}

std::string identifierOf(const WindowIdentity& window, const DesktopEntry* entry) {
  if (!window.applicationId.empty()) return commonIdentifier(window.applicationId);
  if (entry) return commonIdentifier(entry->id);
  return commonIdentifier(window.className);
}

std::set<std::string> linuxBrowsers() {
  // Desktop-entry ids of Debian's packages, of Flatpak and of snaps.
  return {"firefox",
          "firefox-esr",
          "firefox_firefox",
          "org.mozilla.firefox",
          "chromium",
          "chromium-browser",
          "chromium_chromium",
          "org.chromium.Chromium",
          "librewolf",
          "io.gitlab.librewolf-community",
          "waterfox",
          "net.waterfox.waterfox",
          "zen",
          "app.zen_browser.zen",
          "epiphany-browser",
          "org.gnome.Epiphany",
          "org.kde.falkon",
          "org.kde.konqueror",
          "konqbrowser",
          "org.qutebrowser.qutebrowser"};
}

bool hasDeafTextFields(const WindowIdentity& window, const fs::path& programFolder) {
  std::error_code failed;
  // The engines' own libraries and resources: Gecko, then Chromium and what embeds it.
  for (const char* file : {"libxul.so", "chrome_100_percent.pak", "v8_context_snapshot.bin"}) {
    if (!programFolder.empty() && fs::exists(programFolder / file, failed)) return true;
  }
  // In a sandbox the files cannot be seen.
  return isOneOf(window, {"firefox",
                          "firefox-esr",
                          "org.mozilla.firefox",
                          "navigator",
                          "librewolf",
                          "waterfox",
                          "zen",
                          "icecat",
                          "tor browser",
                          "thunderbird",
                          "org.mozilla.thunderbird",
                          "betterbird",
                          "seamonkey",
                          "chromium",
                          "chromium-browser",
                          "google-chrome",
                          "brave-browser",
                          "microsoft-edge",
                          "vivaldi-stable",
                          "opera",
                          "code",
                          "slack",
                          "discord",
                          "signal",
                          "element",
                          "obsidian"});
}

PasteStyle pasteStyleOf(const WindowIdentity& window, const DesktopEntry* entry) {
  if (isOneOf(window, {"xterm", "uxterm", "koi8rxterm", "urxvt", "rxvt", "rxvt-unicode", "urxvtd", "st",
                       "st-256color", "aterm", "eterm", "mlterm", "mrxvt"})) {
    return PasteStyle::shiftInsert;
  }
  bool terminal = isOneOf(window, {"gnome-terminal",
                                   "gnome-terminal-server",
                                   "org.gnome.terminal",
                                   "org.gnome.console",
                                   "kgx",
                                   "org.gnome.ptyxis",
                                   "konsole",
                                   "org.kde.konsole",
                                   "yakuake",
                                   "xfce4-terminal",
                                   "mate-terminal",
                                   "lxterminal",
                                   "qterminal",
                                   "terminator",
                                   "tilix",
                                   "com.gexperts.tilix",
                                   "guake",
                                   "tilda",
                                   "sakura",
                                   "terminology",
                                   "kitty",
                                   "alacritty",
                                   "org.wezfurlong.wezterm",
                                   "wezterm",
                                   "wezterm-gui",
                                   "ghostty",
                                   "com.mitchellh.ghostty",
                                   "deepin-terminal",
                                   "io.elementary.terminal",
                                   "cool-retro-term",
                                   "rio"});
  return terminal || (entry && entry->isTerminal) ? PasteStyle::controlShiftV : PasteStyle::controlV;
}

}  // namespace pell
