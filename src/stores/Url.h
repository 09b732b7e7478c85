// Addresses, as RFC 3986 writes them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pell {

/// The components of an address or of a relative reference, as they were written.
struct Url {
  std::optional<std::string> scheme;
  std::optional<std::string> authority;
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;
  bool operator==(const Url&) const = default;

  /// Absent for the empty text, and where a character stands that an address cannot hold (a blank, a
  /// lone percent sign, anything beyond ASCII).
  static std::optional<Url> parse(std::string_view text);

  /// `reference` as it is meant where this is the base.
  Url resolving(const Url& reference) const;

  std::string string() const;

  /// The authority without user and port, in lower case.
  std::string host() const;

  /// Whether what is sent there could be read on the way: plain HTTP to another machine.
  bool isExposed() const;
};

}  // namespace pell
