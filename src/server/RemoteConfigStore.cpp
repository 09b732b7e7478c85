#include "server/RemoteConfigStore.h"

#include <fstream>
#include <sstream>
#include <utility>

#include "async/OneShot.h"
#include "server/Wire.h"
#include "stores/AtomicFile.h"
#include "stores/Url.h"

namespace pell {
namespace {

template <class T>
std::optional<T> decoded(const std::string& text) {
  try {
    return decodeWire<T>(text);
  } catch (const WireMismatch&) {
    return std::nullopt;
  }
}

}  // namespace

RemoteConfigStore::RemoteConfigStore(Services services)
    : http_(services.http),
      config_(services.config),
      log_(services.log),
      executor_(std::move(services.executor)),
      scope_(executor_) {}

RemoteConfigStore::~RemoteConfigStore() { executor_.stop(); }

Task<std::optional<RemoteConfig::Payload>> RemoteConfigStore::current() { return scope_.call(held()); }

Task<void> RemoteConfigStore::loadCached() { return scope_.call(load()); }

Task<void> RemoteConfigStore::refresh() { return scope_.call(fetch()); }

Task<std::optional<RemoteConfig::Payload>> RemoteConfigStore::held() { co_return payload_; }

std::filesystem::path RemoteConfigStore::cacheFile() const {
  return config_.supportDirectory() / "app-config.json";
}

Task<void> RemoteConfigStore::load() {
  std::ifstream file(cacheFile(), std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();  // reading through iterators would throw where the file is a folder
  auto cached = decoded<Payload>(text.str());
  if (!cached) co_return;
  payload_ = *std::move(cached);
  log_.info("app_config_cached", {{"minimum", payload_->minimumSupportedVersion}});
}

Task<void> RemoteConfigStore::fetch() {
  const std::string key = config_.remoteConfigPublicKey();
  if (key.empty()) {
    log_.info("app_config_inert", {{"reason", "no public key compiled in"}});
    co_return;
  }
  auto message = request();
  if (!message) {
    log_.info("app_config_unreachable");
    co_return;
  }
  OneShot<HttpOutcome> answered;
  http_.send(*std::move(message), [answered](HttpOutcome outcome) { answered.set(std::move(outcome)); });
  const HttpOutcome outcome = co_await answered;
  const auto envelope = envelopeIn(outcome);
  if (!envelope) co_return;
  auto document = RemoteConfig::verify(*envelope, key);
  if (!document) {
    log_.warn("app_config_signature_rejected", {{"key_id", envelope->keyId}});
  } else if (!RemoteConfig::newer(*document, payload_)) {
    log_.info("app_config_stale", {{"issued_at", document->issuedAt}});
  } else {
    apply(*std::move(document));
  }
}

/// Absent where there is no address that may be asked: a document is no secret, but the road to any
/// product server is either encrypted or within this machine.
std::optional<HttpRequest> RemoteConfigStore::request() const {
  auto url = Url::parse(config_.apiBaseURL());
  if (!url || url->isExposed()) return std::nullopt;
  if (!url->path.ends_with('/')) url->path += '/';
  url->path += "api/v1/app-config";
  HttpRequest message;
  message.url = url->string();
  message.timeout = refreshTimeout;
  message.resourceTimeout = refreshTimeout;
  return message;
}

std::optional<RemoteConfig::Envelope> RemoteConfigStore::envelopeIn(const HttpOutcome& outcome) const {
  const auto* response = std::get_if<HttpResponse>(&outcome);
  if (response && response->status != 200) {
    log_.info("app_config_unavailable", {{"status", response->status.value_or(0)}});
    return std::nullopt;
  }
  std::optional<RemoteConfig::Envelope> envelope;
  if (response && response->body.size() <= largestReply) {
    envelope = decoded<RemoteConfig::Envelope>(response->body);
  }
  if (!envelope) log_.info("app_config_unreachable");
  return envelope;
}

void RemoteConfigStore::apply(Payload payload) {
  payload_ = std::move(payload);
  // A copy that cannot be kept is fetched again by the next run.
  if (const auto text = RemoteConfig::encode(*payload_)) replacePrivateFile(cacheFile(), *text);
  log_.info("app_config_applied",
            {{"minimum", payload_->minimumSupportedVersion}, {"issued_at", payload_->issuedAt}});
}

}  // namespace pell
