#include "main/SessionCommand.h"

#include <fmt/format.h>
#include <future>

#include "app/AppModel.h"
#include "async/StoppableExecutor.h"
#include "async/TaskScope.h"
#include "main/Essentials.h"
#include "platform/portable/ThreadExecutor.h"
#include "server/ApiClient.h"
#include "stores/Keychain.h"

namespace pell {
namespace {

constexpr std::string_view registerWord = "register";
constexpr std::string_view signInWord = "sign-in";
constexpr std::string_view signOutWord = "sign-out";

ControlReply opened(const ControlRequest& request, const std::string& email) {
  const char* done = request.command == registerWord ? "Registered and signed" : "Signed";
  return {.ok = true, .message = fmt::format("{} in as {}.", done, email)};
}

ControlReply ended() { return {.ok = true, .message = "Signed out."}; }

/// A sign-in that the keyring did not take ends with this process.
Task<ControlReply> verified(ControlReply reply, Keychain& keychain) {
  if (!reply.ok) co_return reply;
  Keychain::Read kept =
      co_await keychain.get(std::string(Keychain::refreshTokenAccount), Keychain::readTimeout);
  if (!kept.value) {
    reply = {.ok = false,
             .message = "The server accepted the sign-in, but the keyring did not keep it. Is it locked?"};
  }
  co_return reply;
}

/// The same without an application, for which nothing else is to be read or shown.
Task<ControlReply> changeSession(ApiClient& api, Keychain& keychain, ControlRequest request) {
  ControlReply reply;
  try {
    if (request.command == signOutWord) {
      co_await api.signOut();
      co_return ended();
    }
    AccountSummary user;
    if (request.command == registerWord) {
      user = co_await api.registerAccount(request.argument, request.password);
    } else {
      user = co_await api.signIn(request.argument, request.password);
    }
    reply = opened(request, user.email);
  } catch (const std::exception& failure) {
    reply = {.ok = false, .message = failure.what()};
  }
  co_return co_await verified(reply, keychain);
}

Task<void> deliver(Task<ControlReply> task, std::promise<ControlReply>& promise) {
  promise.set_value(co_await std::move(task));
}

}  // namespace

ControlRequest controlRequest(const SignInCommand& command, std::string password) {
  return {.command = std::string(command.registering ? registerWord : signInWord),
          .argument = command.email,
          .password = std::move(password)};
}

ControlRequest controlRequest(const SignOutCommand&) { return {.command = std::string(signOutWord)}; }

bool changesSession(const ControlRequest& request) {
  return request.command == registerWord || request.command == signInWord || request.command == signOutWord;
}

Task<ControlReply> changeSession(AppModel& model, Keychain& keychain, ControlRequest request) {
  model.banners().dismiss();  // it may say that a sign-in is wanted, and here it comes
  if (request.command == signOutWord) {
    co_await model.session().signOut();
    co_return ended();
  }
  std::optional<std::string> refusal;
  if (request.command == registerWord) {
    refusal = co_await model.session().registerAccount(request.argument, request.password);
  } else {
    refusal = co_await model.session().signIn(request.argument, request.password);
  }
  if (refusal) co_return ControlReply{.ok = false, .message = *refusal};
  const auto& account = model.state().account.get();
  ControlReply reply = opened(request, account ? account->email : request.argument);
  co_return co_await verified(std::move(reply), keychain);
}

ControlReply withClientOfItsOwn(const ServerWork& work) {
  Essentials essentials;
  StoppableExecutor home(std::make_unique<ThreadExecutor>("session"));
  Keychain keychain(essentials.secureItems(), home, essentials.config().keychainService(), essentials.log());
  std::promise<ControlReply> promise;
  auto reply = promise.get_future();
  ApiClient api({.http = essentials.http(),
                 .keychain = keychain,
                 .config = essentials.config(),
                 .clock = essentials.clock(),
                 .executor = std::make_unique<ThreadExecutor>("api")});
  TaskScope scope(home);
  scope.spawn(deliver(work(api, keychain), promise));
  ControlReply result = reply.get();
  home.stop();  // the task may still be on its way out
  return result;
}

ControlReply changeSessionHere(const ControlRequest& request) {
  return withClientOfItsOwn(
      [&request](ApiClient& api, Keychain& keychain) { return changeSession(api, keychain, request); });
}

}  // namespace pell
