#include "app/UpdateContent.h"

#include "stores/Text.h"

namespace pell {

UpdateContent updateContent(const UpdateInput& input, const Words& words) {
  std::string message(trimmed(input.message.value_or("")));
  if (message.empty()) {
    message =
        "Downloading the current version replaces this one. It takes a minute and you will not have to sign "
        "in "
        "again.";
  }
  UpdateContent content{
      .heading = "Update Pell",
      .paragraphs =
          {"This copy of Pell is version " + input.version +
               ", and it is older than the oldest version we can still support.",
           std::move(message),
           words("Your notes and your dictation history are not part of the app. They stay on this Mac "
                 "exactly where they are, whatever you do next.")},
      .buttons = {{"Not now", UpdateAction::dismiss}}};
  if (input.hasDownload) content.buttons.push_back({"Get the update", UpdateAction::openDownload});
  return content;
}

}  // namespace pell
