#include "localserver/SignedConfig.h"

#include <array>
#include <fmt/chrono.h>
#include <fstream>
#include <regex>
#include <sodium.h>
#include <sys/stat.h>

#include "localserver/ApiError.h"
#include "localserver/PrivateFile.h"
#include "localserver/Secrets.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

using Seed = std::array<unsigned char, crypto_sign_SEEDBYTES>;

struct KeyPair {
  std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
  std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
};

template <class Bytes>
std::string base64(const Bytes& bytes, int variant) {
  std::string text(sodium_base64_encoded_len(bytes.size(), variant), '\0');
  sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                    bytes.size(), variant);
  text.pop_back();  // the terminating zero
  return text;
}

KeyPair pairOf(const Seed& seed) {
  KeyPair pair;
  crypto_sign_seed_keypair(pair.publicKey.data(), pair.secretKey.data(), seed.data());
  return pair;
}

KeyPair readKey(const fs::path& file) {
  struct stat information {};
  std::ifstream stream(file);
  std::string line;
  if (stat(file.c_str(), &information) != 0 || !std::getline(stream, line)) {
    throw ConfigFailure(fmt::format("No key can be read from {}.", file.string()));
  }
  if ((information.st_mode & 077) != 0) {
    throw ConfigFailure(fmt::format("Others may read the key in {}. If nobody has, forbid it: chmod 600 {}",
                                    file.string(), file.string()));
  }
  Seed seed{};
  std::size_t size = 0;
  line = trimmed(line);
  if (sodium_base642bin(seed.data(), seed.size(), line.data(), line.size(), nullptr, &size, nullptr,
                        sodium_base64_VARIANT_ORIGINAL) != 0 ||
      size != seed.size()) {
    throw ConfigFailure(fmt::format("{} holds no key that \"keygen\" made.", file.string()));
  }
  return pairOf(seed);
}

/// With the fraction of a second that the application insists on.
std::string instant(std::int64_t now) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.000Z", fmt::gmtime(static_cast<std::time_t>(now)));
}

void require(bool condition, const char* message) {
  if (!condition) throw ConfigFailure(message);
}

bool matches(const json& value, const char* pattern) {
  return value.is_string() && std::regex_match(value.get_ref<const std::string&>(), std::regex(pattern));
}

/// The document as it will be signed. A slip in it would be passed over by the application in silence, and
/// the operator would never know.
json completed(const std::string& text, std::int64_t now) {
  json document = json::parse(text, nullptr, false);
  require(document.is_object(), "The document is not a JSON object.");
  for (const auto& [key, value] : document.items()) {
    const bool known =
        key == "minimumSupportedVersion" || key == "features" || key == "message" || key == "issuedAt";
    require(known, fmt::format("The application knows nothing of \"{}\".", key).c_str());
  }
  require(matches(document.value("minimumSupportedVersion", json()), R"(\d{1,9}(\.\d{1,9}){0,2})"),
          "\"minimumSupportedVersion\" is a text of one to three numbers, as \"1.2.0\".");
  json& features = document.emplace("features", json::object()).first.value();
  require(features.is_object(), "\"features\" is an object of names and truth values.");
  for (const auto& [name, on] : features.items()) {
    require(on.is_boolean(), fmt::format("The feature \"{}\" is neither true nor false.", name).c_str());
  }
  require(!document.contains("message") || document["message"].is_string(), "\"message\" is not a text.");
  const json& issuedAt = document.emplace("issuedAt", instant(now)).first.value();
  require(matches(issuedAt, R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{1,9}(Z|[+-]\d\d:\d\d))"),
          "\"issuedAt\" is a time with a fraction of a second, as \"2025-01-31T09:30:00.000Z\".");
  return document;
}

}  // namespace

std::string makeSigningKey(const fs::path& file) {
  startCryptography();
  if (fs::exists(file)) throw ConfigFailure(fmt::format("{} is there already.", file.string()));
  Seed seed{};
  randombytes_buf(seed.data(), seed.size());
  try {
    writePrivateFile(file, base64(seed, sodium_base64_VARIANT_ORIGINAL) + "\n");
  } catch (const std::system_error& error) {
    throw ConfigFailure(
        fmt::format("The key cannot be written to {}: {}.", file.string(), error.code().message()));
  }
  return base64(pairOf(seed).publicKey, sodium_base64_VARIANT_ORIGINAL);
}

std::string publicKeyOf(const fs::path& file) {
  return base64(readKey(file).publicKey, sodium_base64_VARIANT_ORIGINAL);
}

std::string signConfig(const std::string& document, const fs::path& keyFile, std::int64_t now) {
  startCryptography();
  constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  const KeyPair key = readKey(keyFile);
  // The signature covers the text of the payload as it travels, so nobody has to write JSON alike.
  const std::string payload = base64(completed(document, now).dump(), variant);
  std::array<unsigned char, crypto_sign_BYTES> signature{};
  crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const unsigned char*>(payload.data()),
                       payload.size(), key.secretKey.data());
  const std::string publicKey = base64(key.publicKey, variant);
  const json envelope = {
      {"payload", payload}, {"signature", base64(signature, variant)}, {"keyId", publicKey.substr(0, 8)}};
  return envelope.dump() + "\n";
}

json readSignedConfig(const fs::path& file) {
  std::ifstream stream(file);
  json envelope = json::parse(stream, nullptr, false);
  if (!envelope.is_object()) throw Refusal({404, "NOT_FOUND", "There is nothing at this address."});
  return envelope;
}

}  // namespace pell::localserver
