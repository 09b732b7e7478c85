// The whole server, put together.
#pragma once

#include <cstdint>
#include <memory>

#include "localserver/Accounts.h"
#include "localserver/Achievements.h"
#include "localserver/AttemptLimit.h"
#include "localserver/Cleaner.h"
#include "localserver/HttpServer.h"
#include "localserver/Listen.h"
#include "localserver/Metering.h"
#include "localserver/Options.h"
#include "localserver/Router.h"
#include "localserver/Transcriber.h"

namespace pell::localserver {

/// Opens the storage, listens, and answers until it is destroyed. Speech models load in the background.
class Server {
 public:
  struct Setup {
    const Options& options;
    ServerLog& log;
    WallNow now;
    PasswordCost passwordCost = PasswordCost::standard();
    HttpServer::Limits limits = {};
    /// Where to listen instead of at the address of the options.
    std::optional<ListenSocket> socket = std::nullopt;
  };

  /// Throws StartFailure with a sentence for the operator.
  explicit Server(const Setup& setup);

  std::uint16_t port() const { return socket_.port; }
  std::string url() const { return urlOf(socket_); }
  /// All that it answers.
  std::span<const Route> routes() const { return router_.routes(); }
  /// Sentences for the operator about choices that are allowed and seldom meant.
  std::vector<std::string> warnings() const;

 private:
  std::unique_ptr<Storage> storage_;
  ListenSocket socket_;
  bool loopback_;
  bool linksLeadHere_;
  std::unique_ptr<Transcriber> transcriber_;
  std::unique_ptr<Cleaner> cleaner_;
  Sessions sessions_;
  Passwords passwords_;
  MailedLinks links_;
  Accounts accounts_;
  Metering metering_;
  Achievements achievements_;
  AttemptLimit attempts_;
  Router router_;
  HttpServer http_;
};

}  // namespace pell::localserver
