#include "app/RelocationContent.h"

namespace pell {
namespace {

RelocationContent offer(const Words& words) {
  return {.title = "Move Pell to your Applications folder",
          .paragraphs = {
              words("macOS is running Pell from a temporary copy, which is what happens when an app is "
                    "opened straight from the disk image it arrived in."),
              words("Two things go wrong from there. The permission that lets the hotkey work "
                    "anywhere on your Mac is tied to where Pell lives, and this location changes "
                    "every time you open it, so Pell will keep asking for a permission you have "
                    "already given. Updates cannot install either."),
              "Moving Pell to Applications fixes both. It takes a moment and Pell reopens itself."}};
}

struct ContentOf {
  const Words& words;

  RelocationContent operator()(const relocation::Offer&) const {
    RelocationContent content = offer(words);
    content.buttons = {{"Not now", RelocationAction::dismiss},
                       {"Move to Applications", RelocationAction::moveToApplications}};
    return content;
  }
  RelocationContent operator()(const relocation::Working&) const {
    RelocationContent content = offer(words);
    content.progress = "Moving Pell…";
    return content;
  }
  RelocationContent operator()(const relocation::AlreadyInstalled& already) const {
    return {.title = "Pell is already installed",
            .paragraphs = {"There is already a copy of Pell at " + already.url.string() +
                               ", so this one has left it alone.",
                           "Quit this window, open the installed copy, and you can delete the disk image. If "
                           "you meant to replace the installed copy, drag this one over it in the Finder."},
            .buttons = {{"Close", RelocationAction::dismiss},
                        {"Open the installed copy", RelocationAction::openInstalledCopy}}};
  }
  RelocationContent operator()(const relocation::Failed& failed) const {
    return {.title = "Pell could not move itself",
            .paragraphs = {"The move did not finish: " + failed.message,
                           "You can do it by hand. Drag Pell from the disk image into your Applications "
                           "folder, then open it from there."},
            .buttons = {{"Close", RelocationAction::dismiss},
                        {"Show me in the Finder", RelocationAction::showInFileManager}}};
  }
};

}  // namespace

RelocationContent relocationContent(const RelocationState& state, const Words& words) {
  return std::visit(ContentOf{words}, state);
}

}  // namespace pell
