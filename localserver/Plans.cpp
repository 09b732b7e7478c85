#include "localserver/Plans.h"

#include <algorithm>

namespace pell::localserver {

const Plan& planOf(const Plans& plans, const std::optional<std::string>& id) {
  const auto found =
      std::find_if(plans.begin(), plans.end(), [&](const Plan& plan) { return plan.id == id; });
  return found == plans.end() ? plans.front() : *found;
}

}  // namespace pell::localserver
