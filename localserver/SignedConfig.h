// The operators' document for the application: made and signed by one command, served as it is.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace pell::localserver {

/// A key or a document will not do; the text is a sentence for the operator.
class ConfigFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Makes an Ed25519 key pair: the private half goes into `file`, which nobody else may read and which must
/// not be there yet. Gives the public half as the application wants it, in base64. Throws ConfigFailure.
std::string makeSigningKey(const std::filesystem::path& file);
/// The public half of the key in `file`. Throws ConfigFailure, also where others may read the file.
std::string publicKeyOf(const std::filesystem::path& file);

/// Signs a document: `minimumSupportedVersion` (as "1.2" or "1.2.0"), `features` (names and whether each is
/// on), perhaps `message` and `issuedAt`. `features` is empty and `issuedAt` is `now` where they are absent.
/// Gives the envelope as JSON text. Throws ConfigFailure.
std::string signConfig(const std::string& document, const std::filesystem::path& keyFile, std::int64_t now);

/// The envelope in `file`. Throws Refusal "NOT_FOUND" where there is none.
nlohmann::json readSignedConfig(const std::filesystem::path& file);

}  // namespace pell::localserver
