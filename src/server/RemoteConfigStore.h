// Fetches the operators' signed document and keeps the newest valid one.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "async/StoppableExecutor.h"
#include "async/Task.h"
#include "async/TaskScope.h"
#include "platform/HttpSession.h"
#include "server/RemoteConfig.h"
#include "stores/AppConfig.h"
#include "stores/Log.h"

namespace pell {

/// Whatever goes wrong on the way leaves the document that is held, and the held document never moves back
/// in time. The cached copy carries no signature: only what passed `RemoteConfig::verify` is written there.
///
/// All state belongs to a serial executor of its own; the calls may be awaited from any executor and come
/// back there. Nothing here fails or throws. Destroying the store abandons what is in flight: whoever
/// awaits a call then is never resumed.
class RemoteConfigStore {
 public:
  using Payload = RemoteConfig::Payload;

  static constexpr Seconds refreshTimeout{5.0};
  static constexpr std::size_t largestReply = 64 * 1024;  // bytes; a document takes a few hundred

  struct Services {
    HttpSession& http;
    const AppConfig& config;
    const Log& log;
    std::unique_ptr<Executor> executor;  // a serial one, for this store alone
  };

  explicit RemoteConfigStore(Services services);
  ~RemoteConfigStore();
  RemoteConfigStore(const RemoteConfigStore&) = delete;
  RemoteConfigStore& operator=(const RemoteConfigStore&) = delete;

  Task<std::optional<Payload>> current();

  /// Takes the document of an earlier run, if there is a readable one.
  Task<void> loadCached();

  /// Asks the server for a newer document, verifies it and keeps it. Without a verification key in this
  /// build nobody is asked. Ends after `refreshTimeout` at the latest.
  Task<void> refresh();

 private:
  Task<std::optional<Payload>> held();
  Task<void> load();
  Task<void> fetch();
  std::optional<HttpRequest> request() const;
  std::optional<RemoteConfig::Envelope> envelopeIn(const HttpOutcome& outcome) const;
  void apply(Payload payload);
  std::filesystem::path cacheFile() const;

  HttpSession& http_;
  const AppConfig& config_;
  const Log& log_;
  std::optional<Payload> payload_;  // touched on the executor only

  StoppableExecutor executor_;
  TaskScope scope_;
};

}  // namespace pell
