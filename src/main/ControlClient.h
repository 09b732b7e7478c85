#pragma once

#include <filesystem>
#include <optional>

#include "app/ControlMessage.h"
#include "async/Time.h"

namespace pell {

/// Asks the running application and waits for its answer, at most `limit`. Absent when none is running,
/// or when it does not answer in time. Blocks.
std::optional<ControlReply> askRunningInstance(const std::filesystem::path& socket,
                                               const ControlRequest& request, Seconds limit);

/// Whether an application is listening on `socket`.
bool isInstanceRunning(const std::filesystem::path& socket);

}  // namespace pell
