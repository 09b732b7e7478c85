#include "localserver/Secrets.h"

#include <array>
#include <new>
#include <sodium.h>
#include <stdexcept>

namespace pell::localserver {
namespace {

template <std::size_t size>
std::string hexOf(const std::array<unsigned char, size>& bytes) {
  std::array<char, size * 2 + 1> text{};
  return sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
}

}  // namespace

void startCryptography() {
  if (sodium_init() < 0) throw std::runtime_error("The cryptographic library could not start.");
}

std::string newToken() {
  std::array<unsigned char, 32> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  constexpr int variant = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
  std::array<char, sodium_base64_ENCODED_LEN(32, variant)> text{};
  return sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), variant);
}

std::string newIdentifier() {
  std::array<unsigned char, 16> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  return hexOf(bytes);
}

std::string tokenHash(std::string_view token) {
  std::array<unsigned char, 32> hash{};
  crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(token.data()),
                     token.size(), nullptr, 0);
  return hexOf(hash);
}

PasswordCost PasswordCost::standard() {
  return {.operations = crypto_pwhash_OPSLIMIT_INTERACTIVE,
          .memoryBytes = crypto_pwhash_MEMLIMIT_INTERACTIVE};
}

PasswordCost PasswordCost::least() {
  return {.operations = crypto_pwhash_OPSLIMIT_MIN, .memoryBytes = crypto_pwhash_MEMLIMIT_MIN};
}

Passwords::Passwords(PasswordCost cost) : cost_(cost), decoy_(hash(newToken())) {}

std::string Passwords::hash(std::string_view password) const {
  std::array<char, crypto_pwhash_STRBYTES> text{};
  if (crypto_pwhash_str_alg(text.data(), password.data(), password.size(), cost_.operations,
                            cost_.memoryBytes, crypto_pwhash_ALG_ARGON2ID13) != 0) {
    throw std::bad_alloc();
  }
  return text.data();
}

bool Passwords::verify(const std::optional<std::string>& hash, std::string_view password) const {
  const std::string& compared = hash ? *hash : decoy_;
  const bool matches = crypto_pwhash_str_verify(compared.c_str(), password.data(), password.size()) == 0;
  return matches && hash.has_value();
}

}  // namespace pell::localserver
