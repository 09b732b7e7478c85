#pragma once

#include <functional>
#include <string>

#include "app/CommandLine.h"
#include "app/ControlMessage.h"
#include "async/Task.h"

namespace pell {

class ApiClient;
class AppModel;
class Keychain;

/// What the running application does for another process, and what a process does itself when none runs.
ControlRequest controlRequest(const SignInCommand& command, std::string password);
ControlRequest controlRequest(const SignOutCommand& command);

/// Registers, signs in or signs out as `request` says, as a form of the application would, and words the
/// outcome. A session that the keychain did not keep is a failure: it ends with the process.
Task<ControlReply> changeSession(AppModel& model, Keychain& keychain, ControlRequest request);

/// True for the requests that `changeSession` answers.
bool changesSession(const ControlRequest& request);

/// Does the request in this process, with a client of its own, and waits for it.
ControlReply changeSessionHere(const ControlRequest& request);

/// What is to be asked of the server; the task runs on a thread of its own.
using ServerWork = std::function<Task<ControlReply>(ApiClient& api, Keychain& keychain)>;

/// Does `work` where no instance runs. Blocks until it is done.
ControlReply withClientOfItsOwn(const ServerWork& work);

}  // namespace pell
