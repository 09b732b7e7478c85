#include "server/RemoteConfig.h"

#include <algorithm>
#include <sodium.h>

#include "server/AppVersion.h"
#include "server/Wire.h"
#include "stores/IsoDate.h"

namespace pell {
namespace {

std::optional<std::string> base64Decoded(std::string_view text) {
  std::string bytes(text.size(), '\0');
  std::size_t size = 0;
  // With no place for the end of what could be read, anything but the whole is a failure.
  const int result =
      sodium_base642bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), text.data(),
                        text.size(), nullptr, &size, nullptr, sodium_base64_VARIANT_ORIGINAL);
  if (result != 0) return std::nullopt;
  bytes.resize(size);
  return bytes;
}

const unsigned char* bytesOf(const std::string& text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

bool isSigned(const std::string& message, const std::string& signature, const std::string& key) {
  if (key.size() != crypto_sign_PUBLICKEYBYTES || signature.size() != crypto_sign_BYTES) return false;
  if (sodium_init() < 0) return false;
  return crypto_sign_verify_detached(bytesOf(signature), bytesOf(message), message.size(), bytesOf(key)) == 0;
}

std::optional<Date> pellInstant(std::string_view text) { return parseIsoDate(text, IsoFraction::required); }

}  // namespace

std::optional<RemoteConfig::Payload> RemoteConfig::verify(const Envelope& envelope,
                                                          const std::string& publicKeyBase64) {
  if (publicKeyBase64.empty()) return std::nullopt;
  const auto key = base64Decoded(publicKeyBase64);
  const auto signature = base64URLDecoded(envelope.signature);
  if (!key || !signature || !isSigned(envelope.payload, *signature, *key)) return std::nullopt;
  const auto document = base64URLDecoded(envelope.payload);
  if (!document) return std::nullopt;
  try {
    return decodeWire<Payload>(*document);
  } catch (const WireMismatch&) {
    return std::nullopt;
  }
}

std::optional<std::string> RemoteConfig::base64URLDecoded(std::string text) {
  std::ranges::replace(text, '-', '+');
  std::ranges::replace(text, '_', '/');
  while (text.size() % 4 != 0) text += '=';
  return base64Decoded(text);
}

bool RemoteConfig::newer(const Payload& candidate, const std::optional<Payload>& current) {
  if (!current) return true;
  const auto date = pellInstant(candidate.issuedAt);
  if (!date) return false;
  const auto currentDate = pellInstant(current->issuedAt);
  return !currentDate || *date > *currentDate;
}

bool RemoteConfig::isBlocked(std::string_view running, std::string_view floor) {
  const auto least = AppVersion::parse(floor);
  const auto version = AppVersion::parse(running);
  return least && version && *version < *least;
}

bool RemoteConfig::isEnabled(const std::string& feature, const std::optional<Payload>& payload) {
  if (!payload) return true;
  const auto found = payload->features.find(feature);
  return found == payload->features.end() || found->second;
}

std::optional<std::string> RemoteConfig::encode(const Payload& payload) {
  nlohmann::json json{{"minimumSupportedVersion", payload.minimumSupportedVersion},
                      {"features", payload.features},
                      {"issuedAt", payload.issuedAt}};
  if (payload.message) json["message"] = *payload.message;
  try {
    return json.dump();
  } catch (const nlohmann::json::type_error&) {
    return std::nullopt;
  }
}

void decode(const WireObject& object, RemoteConfig::Envelope& envelope) {
  object.required("payload", envelope.payload);
  object.required("signature", envelope.signature);
  object.required("keyId", envelope.keyId);
}

void decode(const WireObject& object, RemoteConfig::Payload& payload) {
  object.required("minimumSupportedVersion", payload.minimumSupportedVersion);
  object.required("features", payload.features);
  object.optional("message", payload.message);
  object.required("issuedAt", payload.issuedAt);
}

}  // namespace pell
