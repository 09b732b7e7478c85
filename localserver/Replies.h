// The records of the API as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "localserver/Accounts.h"
#include "localserver/Achievements.h"
#include "localserver/Metering.h"

namespace pell::localserver {

nlohmann::json sessionJson(const SignedIn& signedIn, const Plan& plan);
nlohmann::json accountJson(const UserRecord& user, const Plan& plan);
nlohmann::json preferencesJson(const UserRecord& user);
/// The allowance after a dictation.
nlohmann::json quotaJson(const Quota& quota);
nlohmann::json usageJson(const UsageReport& report);
nlohmann::json shelfJson(std::span<const Milestone> catalogue, const Achievements::Shelf& shelf);

}  // namespace pell::localserver
