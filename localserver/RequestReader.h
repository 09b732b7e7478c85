// The head of a request out of the HTTP library's hands.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "localserver/Http.h"

struct MHD_Connection;

namespace pell::localserver {

/// Empty where the client sent no such header.
std::string headerValue(MHD_Connection* connection, const char* name);

/// Behind a proxy the client's address is what the proxy says, where it says one.
RequestHead readHead(MHD_Connection* connection, const char* path, const char* method, bool behindProxy);

/// Of the body; nothing where the client does not say.
std::optional<std::uint64_t> declaredLength(MHD_Connection* connection);

}  // namespace pell::localserver
