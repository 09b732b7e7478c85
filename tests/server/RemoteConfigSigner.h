#pragma once

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sodium.h>
#include <string>

#include "SourceTree.h"
#include "server/RemoteConfig.h"

namespace pell::testing {

inline std::string fixtureText(const std::string& name) {
  std::ifstream file(sourceTree() / "tests/fixtures/remote-config" / name);
  std::string text(std::istreambuf_iterator<char>(file), {});
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

inline std::string base64(const std::string& bytes, int variant) {
  std::string text(sodium_base64_encoded_len(bytes.size(), variant), '\0');
  sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                    bytes.size(), variant);
  text.pop_back();  // the zero at its end
  return text;
}

/// An operator of the service: signs documents, with the key of the fixtures unless told otherwise.
class RemoteConfigSigner {
 public:
  RemoteConfigSigner() : RemoteConfigSigner(fixtureText("private-key")) {}
  explicit RemoteConfigSigner(const std::string& seedBase64) {
    unsigned char seed[crypto_sign_SEEDBYTES] = {};
    unsigned char open[crypto_sign_PUBLICKEYBYTES] = {};
    sodium_base642bin(seed, sizeof seed, seedBase64.data(), seedBase64.size(), nullptr, nullptr, nullptr,
                      sodium_base64_VARIANT_ORIGINAL);
    crypto_sign_seed_keypair(open, secret_, seed);
    publicKey = base64(std::string(open, open + sizeof open), sodium_base64_VARIANT_ORIGINAL);
  }

  std::string publicKey;

  std::string signature(const std::string& message) const {
    unsigned char bytes[crypto_sign_BYTES];
    crypto_sign_detached(bytes, nullptr, reinterpret_cast<const unsigned char*>(message.data()),
                         message.size(), secret_);
    return base64(std::string(bytes, bytes + sizeof bytes), sodium_base64_VARIANT_URLSAFE);
  }

  RemoteConfig::Envelope sign(const std::string& document) const {
    const std::string payload = base64(document, sodium_base64_VARIANT_URLSAFE);
    return {.payload = payload, .signature = signature(payload), .keyId = "k1"};
  }

 private:
  unsigned char secret_[crypto_sign_SECRETKEYBYTES] = {};
};

inline std::string envelopeJson(const RemoteConfig::Envelope& envelope) {
  return nlohmann::json{
      {"payload", envelope.payload}, {"signature", envelope.signature}, {"keyId", envelope.keyId}}
      .dump();
}

inline std::string documentJson(const std::string& issuedAt, const std::string& minimum = "1.2") {
  return nlohmann::json{
      {"minimumSupportedVersion", minimum}, {"features", nlohmann::json::object()}, {"issuedAt", issuedAt}}
      .dump();
}

}  // namespace pell::testing
