// Random tokens, their hashes, and passwords.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pell::localserver {

/// Makes libsodium ready; call once before anything else of this header. Throws std::runtime_error.
void startCryptography();

/// A fresh token of 256 random bits, in URL-safe base64.
std::string newToken();
/// A fresh identifier for a record, unguessable.
std::string newIdentifier();
/// What is stored of a token. A plain hash is enough, since a token is random and not chosen by a person; the
/// look-up by it tells nothing of the token through its timing.
std::string tokenHash(std::string_view token);

/// What one password hash costs.
struct PasswordCost {
  unsigned long long operations = 0;
  std::size_t memoryBytes = 0;

  /// About a tenth of a second and 64 MB.
  static PasswordCost standard();
  /// The least that Argon2id takes, where guessing is no danger.
  static PasswordCost least();
};

/// Argon2id. Hashing blocks the calling thread for the whole of its cost; any thread may call.
class Passwords {
 public:
  explicit Passwords(PasswordCost cost);

  /// Throws std::bad_alloc where the memory for it is not there.
  std::string hash(std::string_view password) const;
  /// With no hash (nobody has that address) it works as long and gives false, so that the time of a refusal
  /// does not tell who has an account.
  bool verify(const std::optional<std::string>& hash, std::string_view password) const;

 private:
  PasswordCost cost_;
  std::string decoy_;
};

}  // namespace pell::localserver
