#include "platform/linux/StyleSupplement.h"

#include <array>

namespace pell {
namespace {

constexpr std::string_view terminal = "terminal-command-v1";
constexpr std::string_view email = "gmail-email-v2";
constexpr std::string_view document = "document-v1";
constexpr std::string_view spreadsheet = "spreadsheet-cell-v1";
constexpr std::string_view codeComment = "code-comment-v2";
constexpr std::string_view quickNote = "quick-note-v1";
constexpr std::string_view markdownNote = "markdown-note-v1";
constexpr std::string_view message = "plain-message-v1";
constexpr std::string_view workMessage = "slack-message-v2";
constexpr std::string_view teams = "teams-message-v1";
constexpr std::string_view discord = "discord-message-v1";
constexpr std::string_view calendarEvent = "calendar-event-v1";

// By the name of the application's desktop entry, grouped by how far that name was checked:
//  Debian: the archive's list of contents for Debian 12 has the entry.
//  Flathub: Flathub's repositories have one of this name.
//  Unchecked, from common knowledge: a vendor's own package, a newer version, a fork, a snap ("name_name", as
//  snapd writes it) or Flathub. A wrong name is a row that never applies.
constexpr auto rules = std::to_array<StyleRule>({
    // Terminals: Debian.
    {"org.gnome.Terminal", terminal},
    {"org.gnome.Console", terminal},
    {"org.kde.konsole", terminal},
    {"org.kde.yakuake", terminal},
    {"xfce4-terminal", terminal},
    {"mate-terminal", terminal},
    {"lxterminal", terminal},
    {"qterminal", terminal},
    {"terminator", terminal},
    {"com.gexperts.Tilix", terminal},
    {"guake", terminal},
    {"tilda", terminal},
    {"sakura", terminal},
    {"terminology", terminal},
    {"cool-retro-term", terminal},
    {"deepin-terminal", terminal},
    {"debian-xterm", terminal},
    {"debian-uxterm", terminal},
    {"rxvt-unicode", terminal},
    {"kitty", terminal},
    {"Alacritty", terminal},
    {"foot", terminal},
    {"mlterm", terminal},
    {"st", terminal},
    {"zutty", terminal},
    // Terminals: unchecked.
    {"org.gnome.Ptyxis", terminal},
    {"app.devsuite.Ptyxis", terminal},
    {"io.elementary.terminal", terminal},
    {"org.wezfurlong.wezterm", terminal},
    {"com.mitchellh.ghostty", terminal},
    {"com.raggesilver.BlackBox", terminal},
    // Mail: Debian.
    {"thunderbird", email},
    {"org.gnome.Evolution", email},
    {"org.gnome.Geary", email},
    {"org.kde.kmail2", email},
    {"org.kde.kontact", email},
    {"claws-mail", email},
    {"sylpheed", email},
    {"org.desktop.Balsa", email},
    // Mail: Flathub.
    {"org.mozilla.Thunderbird", email},
    {"eu.betterbird.Betterbird", email},
    {"com.getmailspring.Mailspring", email},
    {"org.claws_mail.Claws-Mail", email},
    {"com.tutanota.Tutanota", email},
    // Mail: unchecked.
    {"org.mozilla.thunderbird", email},
    {"thunderbird_thunderbird", email},
    {"mailspring_mailspring", email},
    {"net.thunderbird.Thunderbird", email},
    // Office: Debian.
    {"libreoffice-writer", document},
    {"libreoffice-calc", spreadsheet},
    {"abiword", document},
    {"focuswriter", document},
    {"lyx", document},
    {"org.kde.calligrawords", document},
    {"org.kde.calligrasheets", spreadsheet},
    {"org.gnome.Calendar", calendarEvent},
    {"org.kde.korganizer", calendarEvent},
    {"gnumeric", spreadsheet},
    {"texstudio", document},
    {"org.kde.kalendar", calendarEvent},
    // Office: Flathub.
    {"org.onlyoffice.desktopeditors", document},
    // Office: unchecked.
    {"org.libreoffice.LibreOffice.writer", document},
    {"libreoffice_writer", document},
    {"org.libreoffice.LibreOffice.calc", spreadsheet},
    {"libreoffice_calc", spreadsheet},
    {"org.gnumeric.gnumeric", spreadsheet},
    {"onlyoffice-desktopeditors", document},
    {"onlyoffice-desktopeditors_onlyoffice-desktopeditors", document},
    {"org.gnumeric.Gnumeric", spreadsheet},
    // Editors of code: Debian.
    {"org.kde.kate", codeComment},
    {"org.kde.kdevelop", codeComment},
    {"org.gnome.Builder", codeComment},
    {"org.qt-project.qtcreator", codeComment},
    {"codeblocks", codeComment},
    {"geany", codeComment},
    {"emacs", codeComment},
    {"gvim", codeComment},
    {"SciTE", codeComment},
    {"bluefish", codeComment},
    {"notepadqq", codeComment},
    {"spyder", codeComment},
    {"org.thonny.Thonny", codeComment},
    // Editors of code: Flathub.
    {"com.vscodium.codium", codeComment},
    {"dev.zed.Zed", codeComment},
    {"com.jetbrains.IntelliJ-IDEA-Community", codeComment},
    {"com.jetbrains.PyCharm-Community", codeComment},
    // Editors of code: unchecked.
    {"codium", codeComment},
    {"codium_codium", codeComment},
    {"sublime_text", codeComment},
    {"com.sublimetext.three", codeComment},
    {"intellij-idea-community_intellij-idea-community", codeComment},
    {"pycharm-community_pycharm-community", codeComment},
    // Editors of text, and notes: Debian.
    {"org.gnome.TextEditor", quickNote},
    {"org.gnome.gedit", quickNote},
    {"org.kde.kwrite", quickNote},
    {"org.xfce.mousepad", quickNote},
    {"pluma", quickNote},
    {"featherpad", quickNote},
    {"l3afpad", quickNote},
    {"org.gnome.Notes", quickNote},
    {"org.gnome.Gnote", quickNote},
    {"zim", quickNote},
    {"xpad", quickNote},
    {"ghostwriter", markdownNote},
    {"org.gnome.gitlab.somas.Apostrophe", markdownNote},
    {"cherrytree", quickNote},
    {"me.mitya57.ReText", markdownNote},
    // Editors of text, and notes: Flathub.
    {"md.obsidian.Obsidian", markdownNote},
    {"net.cozic.joplin_desktop", markdownNote},
    {"com.logseq.Logseq", markdownNote},
    {"com.github.marktext.marktext", markdownNote},
    // Editors of text, and notes: unchecked.
    {"org.zim_wiki.Zim", quickNote},
    {"obsidian", markdownNote},
    {"obsidian_obsidian", markdownNote},
    {"joplin-desktop_joplin-desktop", markdownNote},
    {"org.kde.ghostwriter", markdownNote},
    // Messengers: Debian.
    {"org.telegram.desktop", message},
    {"nheko", message},
    {"pidgin", message},
    {"im.dino.Dino", message},
    {"org.gajim.Gajim", message},
    {"org.gnome.Polari", message},
    {"io.github.Hexchat", message},
    {"org.kde.konversation", message},
    {"org.kde.neochat", message},
    {"quassel", message},
    {"quasselclient", message},
    {"psi-plus", message},
    // Messengers: Flathub.
    {"org.signal.Signal", message},
    {"im.riot.Riot", message},  // Element
    {"org.gnome.Fractal", message},
    {"com.discordapp.Discord", discord},
    {"com.mattermost.Desktop", workMessage},
    {"chat.rocket.RocketChat", workMessage},
    {"com.github.IsmaelMartinez.teams_for_linux", teams},
    {"chat.delta.desktop", message},
    {"io.github.spacingbat3.webcord", discord},
    // Messengers: unchecked.
    {"telegram-desktop_telegram-desktop", message},
    {"signal-desktop", message},
    {"signal-desktop_signal-desktop", message},
    {"element-desktop", message},
    {"im.nheko.Nheko", message},
    {"discord", discord},
    {"discord_discord", discord},
    {"mattermost-desktop", workMessage},
    {"org.zulip.Zulip", workMessage},
    {"teams-for-linux", teams},
    {"teams-for-linux_teams-for-linux", teams},
});

}  // namespace

std::span<const StyleRule> linuxStyleRules() { return rules; }

}  // namespace pell
