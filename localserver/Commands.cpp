#include "localserver/Commands.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fstream>
#include <iterator>

#include "localserver/Accounts.h"
#include "localserver/DataFiles.h"
#include "localserver/Plans.h"
#include "localserver/PrivateFile.h"
#include "localserver/SignedConfig.h"
#include "localserver/SqliteStorage.h"

namespace pell::localserver {
namespace {

using Names = std::span<const std::string>;

void requireCount(const Arguments& arguments, std::size_t count, const char* usage) {
  if (arguments.others.size() != count) throw Malformed{fmt::format("Use it so: pell-server {}.", usage)};
}

std::string keygen(Names rest) {
  const Arguments arguments = takeApart(rest, {});
  requireCount(arguments, 1, "keygen FILE");
  const std::filesystem::path file = arguments.others.front();
  const std::string publicKey = makeSigningKey(file);
  return fmt::format("The private key is in {}. Keep it safe and off the server.\nPublic key: {}\n",
                     file.string(), publicKey);
}

std::string signDocument(Names rest, const Environment& environment, std::int64_t now) {
  constexpr std::array<std::string_view, 2> names = {"--key", "--data"};
  constexpr const char* usage = "config sign DOCUMENT --key FILE [--data DIR]";
  const Arguments arguments = takeApart(rest, names);
  requireCount(arguments, 2, usage);
  if (arguments.others.front() != "sign" || !arguments.option("--key")) requireCount({}, 1, usage);
  const std::string& document = arguments.others.back();
  std::ifstream stream(document, std::ios::binary);
  if (!stream || std::filesystem::is_directory(document))
    throw ConfigFailure(fmt::format("{} cannot be read.", document));
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  const auto file = signedConfigFile(dataDirectory(arguments, environment));
  const std::string envelope = signConfig(text, *arguments.option("--key"), now);
  makePrivateFolder(file.parent_path());
  writePrivateFile(file, envelope);
  // It is no secret, and the server may run as another user than the one who signs.
  std::filesystem::permissions(file, std::filesystem::perms(0644));
  return fmt::format("Signed and published as {}.\n", file.string());
}

std::string setPlan(Names rest, const Environment& environment) {
  constexpr std::array<std::string_view, 1> names = {"--data"};
  const Arguments arguments = takeApart(rest, names);
  requireCount(arguments, 2, "plan EMAIL PLAN [--data DIR]");
  const auto directory = dataDirectory(arguments, environment);
  const auto file = databaseFile(directory);
  if (!std::filesystem::exists(file)) throw StorageFailure(fmt::format("There is no {}.", file.string()));
  SqliteStorage storage(file);
  const std::string& email = arguments.others[0];
  const std::string& plan = arguments.others[1];
  const auto plans = publishedPlans(plansFile(directory));
  if (plans.empty()) {
    throw StorageFailure("No server has told its plans here yet: start it once with its options.");
  }
  if (std::find(plans.begin(), plans.end(), plan) == plans.end()) {
    throw StorageFailure(
        fmt::format("The server has no plan \"{}\"; it knows {}.", plan, fmt::join(plans, ", ")));
  }
  storage.atomically([&] {
    auto user = storage.userByEmail(normalizedEmail(email));
    if (!user) throw StorageFailure(fmt::format("Nobody has an account with the address {}.", email));
    user->plan = plan;
    storage.updateUser(*user);
  });
  return fmt::format("{} is on the plan \"{}\".\n", email, plan);
}

}  // namespace

std::optional<std::string> runCommand(std::span<const std::string> arguments, const Environment& environment,
                                      std::int64_t now) {
  if (arguments.empty()) return std::nullopt;
  const Names rest = arguments.subspan(1);
  if (arguments.front() == "keygen") return keygen(rest);
  if (arguments.front() == "config") return signDocument(rest, environment, now);
  if (arguments.front() == "plan") return setPlan(rest, environment);
  return std::nullopt;
}

}  // namespace pell::localserver
