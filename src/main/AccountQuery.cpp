#include "main/AccountQuery.h"

#include "app/AccountPages.h"
#include "main/SessionCommand.h"
#include "stores/Keychain.h"

namespace pell {
namespace {

constexpr std::string_view asJson = "json";
constexpr const char* nobody = "Nobody is signed in. 'pell sign-in EMAIL' does it.";

template <class Record>
ControlReply page(const Record& record, bool json) {
  std::string text = json ? AccountPages::json(record) : AccountPages::text(record);
  if (text.ends_with('\n')) text.pop_back();  // whoever prints the reply ends it
  return {.ok = true, .message = std::move(text)};
}

Task<ControlReply> read(ApiClient& api, AccountPage wanted, bool json) {
  // Every command restores the session first, so that one without any gets the same answer from all.
  std::optional<Account> account = co_await api.account();
  if (!account) co_return ControlReply{.ok = false, .message = nobody};
  ControlReply reply;
  switch (wanted) {
    case AccountPage::account:
      reply = page(*account, json);
      break;
    case AccountPage::styles: {
      const CleanupStyleCatalogue catalogue = co_await api.cleanupStyles();
      reply = page(catalogue, json);
      break;
    }
    case AccountPage::usage: {
      const UsageStats usage = co_await api.usage();
      reply = page(usage, json);
      break;
    }
    case AccountPage::badges: {
      const AchievementShelf shelf = co_await api.achievements();
      reply = page(shelf, json);
      break;
    }
  }
  co_return reply;
}

}  // namespace

ControlRequest controlRequest(const AccountCommand& command) {
  return {.command = std::string(word(command.page)), .argument = std::string(command.json ? asJson : "")};
}

bool asksAboutAccount(const ControlRequest& request) { return accountPage(request.command).has_value(); }

Task<ControlReply> answerAboutAccount(ApiClient& api, ControlRequest request) {
  const auto wanted = accountPage(request.command).value_or(AccountPage::account);
  ControlReply reply;
  try {
    reply = co_await read(api, wanted, request.argument == asJson);
  } catch (const std::exception& failure) {
    reply = {.ok = false, .message = failure.what()};
  }
  co_return reply;
}

ControlReply answerAboutAccountHere(const ControlRequest& request) {
  return withClientOfItsOwn(
      [&request](ApiClient& api, Keychain&) { return answerAboutAccount(api, request); });
}

}  // namespace pell
