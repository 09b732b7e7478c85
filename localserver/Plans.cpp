#include "localserver/Plans.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

#include "localserver/PrivateFile.h"

namespace pell::localserver {

void publishPlans(const Plans& plans, const std::filesystem::path& file) {
  auto ids = nlohmann::json::array();
  for (const Plan& plan : plans) ids.push_back(plan.id);
  writePrivateFile(file, ids.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

std::vector<std::string> publishedPlans(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::vector<std::string> ids;
  for (const auto& id : nlohmann::json::parse(stream, nullptr, false)) {
    if (id.is_string()) ids.push_back(id);
  }
  return ids;
}

const Plan& planOf(const Plans& plans, const std::optional<std::string>& id) {
  const auto found =
      std::find_if(plans.begin(), plans.end(), [&](const Plan& plan) { return plan.id == id; });
  return found == plans.end() ? plans.front() : *found;
}

}  // namespace pell::localserver
