// Questions about the account, asked of the server for the command line.
#pragma once

#include "app/CommandLine.h"
#include "app/ControlMessage.h"
#include "async/Task.h"
#include "server/ApiClient.h"

namespace pell {

/// The request that a command stands for.
ControlRequest controlRequest(const AccountCommand& command);

bool asksAboutAccount(const ControlRequest& request);

/// The page that the request asks for, or why there is none. Never throws.
Task<ControlReply> answerAboutAccount(ApiClient& api, ControlRequest request);

/// The same where no instance runs: with a client of its own. Blocks until the server has answered.
ControlReply answerAboutAccountHere(const ControlRequest& request);

}  // namespace pell
