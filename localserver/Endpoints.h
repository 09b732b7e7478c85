// The table of the API: what this server answers, and to whom.
#pragma once

#include <vector>

#include "localserver/Accounts.h"
#include "localserver/Metering.h"
#include "localserver/Router.h"
#include "localserver/Transcriber.h"

namespace pell::localserver {

/// What the endpoints work with; all of it must outlive them.
struct EndpointServices {
  Accounts& accounts;
  Sessions& sessions;
  Metering& metering;
  Transcriber& transcriber;
  ServerLog& log;
};

std::vector<Route> endpoints(const EndpointServices& services);

}  // namespace pell::localserver
