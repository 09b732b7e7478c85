// What one `pell` process says to the running one, over a private socket.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pell {

/// One request, one line of JSON. `command` is a word of the command line ("dictate", "sign-in",
/// "register", "sign-out", "account", "styles", "usage", "badges"), "activate" or "notes-changed".
struct ControlRequest {
  std::string command;
  std::string argument;  // the action, the e-mail address, or "json"
  std::string password;  // for sign-in and registration only; never logged
  bool operator==(const ControlRequest&) const = default;
};

/// The answer. `message` is a sentence for the user, or empty.
struct ControlReply {
  bool ok = false;
  std::string message;
  bool operator==(const ControlReply&) const = default;
};

/// Longest line that is read; anything longer is no request.
inline constexpr std::size_t controlLineLimit = 64 * 1024;

/// Without the line break.
std::string encode(const ControlRequest& request);
std::string encode(const ControlReply& reply);

/// Absent for anything that is no such message.
std::optional<ControlRequest> decodeRequest(std::string_view line);
std::optional<ControlReply> decodeReply(std::string_view line);

}  // namespace pell
