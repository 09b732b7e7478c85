// The operators' signed document: which versions may run, and which features are switched off.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace pell {

class WireObject;

/// Nothing that the signature does not cover is trusted, and nothing garbled ever locks a user out. Pure;
/// any thread.
struct RemoteConfig {
  /// The reply of the endpoint. Binary values are URL-safe base64, with or without padding.
  struct Envelope {
    std::string payload;    // the document's JSON
    std::string signature;  // Ed25519, over the text of `payload` as it was received
    std::string keyId;      // for the log alone: there is one key
    bool operator==(const Envelope&) const = default;
  };

  /// The document, and the content of the cache file.
  struct Payload {
    std::string minimumSupportedVersion;
    std::map<std::string, bool> features;
    std::optional<std::string> message;  // for the user of a version that is no longer supported
    std::string issuedAt;                // ISO 8601 with a fraction of a second
    bool operator==(const Payload&) const = default;
  };

  /// The document, if its signature is by the key whose raw public half is given as standard base64.
  /// Without a key nothing is accepted.
  static std::optional<Payload> verify(const Envelope& envelope, const std::string& publicKeyBase64);

  static std::optional<std::string> base64URLDecoded(std::string text);

  /// Whether `candidate` was issued strictly later. A current document whose date does not parse is
  /// always beaten; a candidate's that does not parse beats nothing but the lack of a document.
  static bool newer(const Payload& candidate, const std::optional<Payload>& current);

  /// Whether the running version lies below the floor; false if either does not parse.
  static bool isBlocked(std::string_view running, std::string_view floor);

  /// Features are on unless a document says otherwise.
  static bool isEnabled(const std::string& feature, const std::optional<Payload>& payload);

  /// JSON as `decodeWire` of server/Wire.h reads it; absent where a value is no UTF-8.
  static std::optional<std::string> encode(const Payload& payload);
};

void decode(const WireObject& object, RemoteConfig::Envelope& envelope);
void decode(const WireObject& object, RemoteConfig::Payload& payload);

}  // namespace pell
