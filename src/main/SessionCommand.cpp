#include "main/SessionCommand.h"

#include <fmt/format.h>
#include <future>

#include "async/StoppableExecutor.h"
#include "async/TaskScope.h"
#include "main/Essentials.h"
#include "platform/portable/ThreadExecutor.h"
#include "stores/Keychain.h"

namespace pell {
namespace {

constexpr std::string_view registerWord = "register";
constexpr std::string_view signInWord = "sign-in";
constexpr std::string_view signOutWord = "sign-out";

/// A sign-in that the keyring did not take ends with this process.
Task<ControlReply> changeAndVerify(ApiClient& api, Keychain& keychain, ControlRequest request) {
  const bool opensSession = request.command != signOutWord;
  ControlReply reply = co_await changeSession(api, std::move(request));
  if (!reply.ok || !opensSession) co_return reply;
  Keychain::Read kept =
      co_await keychain.get(std::string(Keychain::refreshTokenAccount), Keychain::readTimeout);
  if (!kept.value) {
    reply = {.ok = false,
             .message = "The server accepted the sign-in, but the keyring did not keep it. Is it locked?"};
  }
  co_return reply;
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

Task<ControlReply> changeSession(ApiClient& api, ControlRequest request) {
  ControlReply reply;
  try {
    if (request.command == signOutWord) {
      co_await api.signOut();
      reply = {.ok = true, .message = "Signed out."};
    } else if (request.command == registerWord) {
      AccountSummary user = co_await api.registerAccount(request.argument, request.password);
      reply = {.ok = true, .message = fmt::format("Registered and signed in as {}.", user.email)};
    } else {
      AccountSummary user = co_await api.signIn(request.argument, request.password);
      reply = {.ok = true, .message = fmt::format("Signed in as {}.", user.email)};
    }
  } catch (const ApiClient::Failure& failure) {
    reply = {.ok = false, .message = failure.description()};
  }
  co_return reply;
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
      [&request](ApiClient& api, Keychain& keychain) { return changeAndVerify(api, keychain, request); });
}

}  // namespace pell
