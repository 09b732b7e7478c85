#pragma once

#include <functional>
#include <string_view>
#include <thread>

namespace pell {

/// Starts a thread that takes no signals: those belong to the main thread, and a broken pipe is an error
/// code here and not the end of the program.
std::thread startThread(std::string_view name, std::function<void()> body);

}  // namespace pell
