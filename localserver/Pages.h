#pragma once

#include <vector>

#include "localserver/MailedLinks.h"
#include "localserver/Router.h"

namespace pell::localserver {

/// The plain pages that the links in letters open. A page itself changes nothing, as mail programs open links
/// by themselves to look at them; its button does.
std::vector<Route> pages(MailedLinks& links);

}  // namespace pell::localserver
