// Another program's clipboard, steered by a test.
#pragma once

#include <glib.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "linux/Editor.h"
#include "platform/linux/SelectionFormats.h"

namespace pell::testing {

/// Owns selections, well or badly, and asks for them; it goes with its object.
class SelectionPeer {
 public:
  struct Manners {
    std::size_t partBytes = 200'000;  // larger content goes in parts
    bool answers = true;
    int partsBeforeDeath = -1;     // the owner goes away in the middle of a transfer
    double pauseBetweenParts = 0;  // seconds
  };

  /// Becomes the owner of `selection` with these formats.
  void own(const std::vector<SelectionData>& content, const Manners& manners,
           const std::string& selection = "CLIPBOARD") {
    auto formats = nlohmann::json::object();
    for (const auto& [target, kind, bytes] : content) {
      gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
      formats[target] = {kind.type, kind.format, encoded};
      g_free(encoded);
    }
    program_.call("own", formats, selection, manners.partBytes, manners.answers, manners.partsBeforeDeath,
                  manners.pauseBetweenParts);
  }
  void stopAnswering() { program_.call("stop_answering"); }

  /// What a target holds, with its type and format; absent if it is refused or nobody answers.
  std::optional<SelectionData> ask(const std::string& target, const std::string& selection = "CLIPBOARD") {
    const auto answer = program_.call("ask", target, selection);
    if (answer.is_null()) return std::nullopt;
    gsize size = 0;
    guchar* bytes = g_base64_decode(answer[2].get<std::string>().c_str(), &size);
    SelectionData data{.target = target,
                       .kind = {.type = answer[0], .format = answer[1]},
                       .bytes = std::string(reinterpret_cast<char*>(bytes), size)};
    g_free(bytes);
    return data;
  }

  /// How often each target was asked of us.
  std::map<std::string, int> requests() {
    return program_.call("requests").get<std::map<std::string, int>>();
  }

 private:
  Editor program_{"clipboard_peer.py"};
};

}  // namespace pell::testing
