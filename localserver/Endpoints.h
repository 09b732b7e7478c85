// The table of the API: what this server answers, and to whom.
#pragma once

#include <filesystem>
#include <vector>

#include "localserver/Accounts.h"
#include "localserver/Achievements.h"
#include "localserver/Cleaner.h"
#include "localserver/Metering.h"
#include "localserver/Router.h"
#include "localserver/Transcriber.h"

namespace pell::localserver {

/// What the endpoints work with; all of it must outlive them.
struct EndpointServices {
  Accounts& accounts;
  Sessions& sessions;
  MailedLinks& links;
  Metering& metering;
  Achievements& achievements;
  Transcriber& transcriber;
  Cleaner& cleaner;
  ServerLog& log;
  /// Where the operator's signed document is, if there is one.
  std::filesystem::path signedConfig;
};

std::vector<Route> endpoints(const EndpointServices& services);

}  // namespace pell::localserver
