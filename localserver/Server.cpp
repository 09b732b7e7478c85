#include "localserver/Server.h"

#include <algorithm>
#include <curl/curl.h>
#include <fmt/format.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>

#include "localserver/AudioDecoder.h"
#include "localserver/ChatCleaner.h"
#include "localserver/CommandTranscriber.h"
#include "localserver/DataFiles.h"
#include "localserver/Endpoints.h"
#include "localserver/Pages.h"
#include "localserver/PrivateFile.h"
#include "localserver/RemoteTranscriber.h"
#include "localserver/RuleCleaner.h"
#include "localserver/SphinxTranscriber.h"
#include "localserver/SqliteStorage.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

// Clients give a request up after three minutes.
constexpr std::chrono::seconds transcriberLimit{170};
// Each decoder holds a model of about 100 MB.
constexpr unsigned mostDecoders = 4;

std::unique_ptr<Storage> openStorage(const Options& options) {
  const std::filesystem::path& directory = options.data;
  try {
    makePrivateFolder(directory);
    auto storage = std::make_unique<SqliteStorage>(databaseFile(directory));
    publishPlans(plansOf(options), plansFile(directory));
    return storage;
  } catch (const StorageFailure& failure) {
    throw StartFailure(failure.what());
  } catch (const std::system_error& error) {
    throw StartFailure(
        fmt::format("The data directory {} cannot be used: {}.", directory.string(), error.code().message()));
  }
}

std::string readKey(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::string key;
  if (!std::getline(stream, key) || trimmed(key).empty()) {
    throw StartFailure(fmt::format("No key can be read from {}.", file.string()));
  }
  // A group may be meant to read it, as that of the service; everybody is never.
  struct stat information {};
  if (stat(file.c_str(), &information) == 0 && (information.st_mode & 007) != 0) {
    throw StartFailure(fmt::format("Everybody may read the key in {}. Forbid it: chmod o= {}", file.string(),
                                   file.string()));
  }
  return trimmed(key);
}

std::optional<std::string> keyOf(const ServiceAddress& service) {
  return service.keyFile ? std::optional(readKey(*service.keyFile)) : std::nullopt;
}

struct MakeTranscriber {
  std::unique_ptr<Transcriber> operator()(const BuiltInRecogniser&) const {
    try {
      const unsigned decoders = std::clamp(std::thread::hardware_concurrency(), 1u, mostDecoders);
      return std::make_unique<SphinxTranscriber>(SphinxTranscriber::installedModel(), decoders);
    } catch (const TranscriberFailure& failure) {
      throw StartFailure(failure.what());
    }
  }
  std::unique_ptr<Transcriber> operator()(const RecogniserCommand& choice) const {
    return std::make_unique<CommandTranscriber>(choice.command, transcriberLimit);
  }
  std::unique_ptr<Transcriber> operator()(const ServiceAddress& choice) const {
    return std::make_unique<RemoteTranscriber>(RemoteTranscriber::Setup{
        .url = choice.url, .model = choice.model, .key = keyOf(choice), .limit = transcriberLimit});
  }
};

std::unique_ptr<Cleaner> makeCleaner(const std::optional<ServiceAddress>& choice) {
  if (!choice) return std::make_unique<RuleCleaner>();
  return std::make_unique<ChatCleaner>(
      ChatCleaner::Setup{.url = choice->url, .model = choice->model, .key = keyOf(*choice)});
}

/// Makes the libraries ready that want it once per process, then listens.
ListenSocket prepare(const Server::Setup& setup) {
  startCryptography();
  quietAudioLibrary();
  curl_global_init(CURL_GLOBAL_DEFAULT);
  return setup.socket ? *setup.socket : listenOn(setup.options.host, setup.options.port);
}

MailedLinks::Setup linksSetup(const Server::Setup& setup, Storage& storage, const Passwords& passwords,
                              const ListenSocket& socket) {
  const Options& options = setup.options;
  return {
      .storage = storage,
      .passwords = passwords,
      .log = setup.log,
      .now = setup.now,
      .folder = outboxFolder(options.data),
      .sender = options.mailFrom,
      // Never what a request says of the host: whoever asks for a reset would choose where its link leads.
      .publicUrl = options.publicUrl.empty() ? urlOf(socket) : options.publicUrl};
}

std::vector<Route> allRoutes(const EndpointServices& services) {
  std::vector<Route> all = endpoints(services);
  for (Route& page : pages(services.links)) all.push_back(std::move(page));
  return all;
}

/// All clients of a proxy come from its one address.
HttpServer::Limits limitsOf(const Server::Setup& setup) {
  HttpServer::Limits limits = setup.limits;
  if (setup.options.behindProxy) limits.connectionsPerAddress = limits.connections;
  return limits;
}

void logRequest(ServerLog& log, const RequestSummary& request) {
  constexpr std::size_t longestPath = 128;
  log.info("request", {{"request_id", request.id},
                       {"method", request.method},
                       {"path", request.path.substr(0, longestPath)},
                       {"status", request.status},
                       {"ms", request.took.count()}});
}

}  // namespace

Server::Server(const Setup& setup)
    : storage_(openStorage(setup.options)),
      socket_(prepare(setup)),
      loopback_(isLoopback(socket_)),
      linksLeadHere_(setup.options.publicUrl.empty() && (!loopback_ || setup.options.behindProxy)),
      transcriber_(std::visit(MakeTranscriber{}, setup.options.recogniser)),
      cleaner_(makeCleaner(setup.options.cleaner)),
      sessions_(*storage_, setup.now),
      passwords_(setup.passwordCost),
      links_(linksSetup(setup, *storage_, passwords_, socket_)),
      accounts_({.storage = *storage_,
                 .sessions = sessions_,
                 .passwords = passwords_,
                 .links = links_,
                 .now = setup.now,
                 .verifyEmail = setup.options.verifyEmail}),
      metering_(*storage_, setup.now, plansOf(setup.options)),
      achievements_(*storage_, setup.now),
      attempts_(setup.options.authAttemptsPerMinute),
      router_({.routes = allRoutes({.accounts = accounts_,
                                    .sessions = sessions_,
                                    .links = links_,
                                    .metering = metering_,
                                    .achievements = achievements_,
                                    .transcriber = *transcriber_,
                                    .cleaner = *cleaner_,
                                    .log = setup.log,
                                    .signedConfig = signedConfigFile(setup.options.data)}),
               .sessions = sessions_,
               .attempts = attempts_,
               .log = setup.log}),
      http_({.socket = socket_,
             .application = router_,
             .behindProxy = setup.options.behindProxy,
             .finished = [&log = setup.log](const RequestSummary& request) { logRequest(log, request); },
             .limits = limitsOf(setup)}) {}

std::vector<std::string> Server::warnings() const {
  std::vector<std::string> sentences;
  if (!loopback_) {
    sentences.emplace_back(
        "Other machines can reach this server, and what passes between is not encrypted. Put a proxy with "
        "TLS in front of it.");
  }
  if (linksLeadHere_) {
    sentences.push_back(
        fmt::format("The links in letters lead to {}, where users will not get. Say with --public-url where "
                    "they reach this server.",
                    url()));
  }
  return sentences;
}

}  // namespace pell::localserver
