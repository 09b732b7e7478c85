#include "stores/Url.h"

#include <algorithm>
#include <utility>

#include "stores/Text.h"

namespace pell {
namespace {

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view digits = "0123456789";
constexpr std::string_view hexDigits = "0123456789abcdefABCDEF";

bool isOneOf(char character, std::string_view set) { return set.find(character) != set.npos; }

bool consistsOf(std::string_view text, std::string_view extra) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (character == '%') {
      if (at + 2 >= text.size() || !isOneOf(text[at + 1], hexDigits) || !isOneOf(text[at + 2], hexDigits)) {
        return false;
      }
      at += 2;
    } else if (!isOneOf(character, letters) && !isOneOf(character, digits) &&
               !isOneOf(character, "-._~!$&'()*+,;=") && !isOneOf(character, extra)) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isOneOf(text[0], letters) && std::ranges::all_of(text, [](char character) {
    return isOneOf(character, letters) || isOneOf(character, digits) || isOneOf(character, "+-.");
  });
}

struct Authority {
  std::string_view user;
  std::string_view host;
  std::string_view port;
};

Authority split(std::string_view authority) {
  Authority parts;
  if (auto at = authority.rfind('@'); at != authority.npos) {
    parts.user = authority.substr(0, at);
    authority.remove_prefix(at + 1);
  }
  const auto bracket = authority.rfind(']');
  const auto colon = authority.find(':', bracket == authority.npos ? 0 : bracket);
  parts.host = authority.substr(0, colon);
  if (colon != authority.npos) parts.port = authority.substr(colon + 1);
  return parts;
}

bool isAuthority(std::string_view text) {
  Authority parts = split(text);
  if (parts.host.starts_with('[')) {
    if (!parts.host.ends_with(']')) return false;
    parts.host.remove_prefix(1);
    parts.host.remove_suffix(1);
    if (!consistsOf(parts.host, ":")) return false;
  } else if (!consistsOf(parts.host, "")) {
    return false;
  }
  return consistsOf(parts.user, ":") &&
         std::ranges::all_of(parts.port, [](char character) { return isOneOf(character, digits); });
}

/// Takes what stands behind `mark` off the end of `text`.
std::optional<std::string> takeBehind(std::string_view& text, char mark) {
  const auto at = text.find(mark);
  if (at == text.npos) return std::nullopt;
  std::string tail(text.substr(at + 1));
  text = text.substr(0, at);
  return tail;
}

std::string withoutDotSegments(std::string_view path) {
  std::string result;
  const bool rooted = path.starts_with('/');
  while (!path.empty()) {
    const auto slash = path.find('/', 1);
    const std::string_view piece = path.substr(0, slash);
    const std::string_view name = piece.starts_with('/') ? piece.substr(1) : piece;
    const bool last = slash == path.npos;
    if (name == "..") result.erase(result.empty() ? 0 : std::min(result.rfind('/'), result.size()));
    if (name != "." && name != "..") {
      result += piece;
    } else if (last) {
      result += '/';
    }
    path = last ? std::string_view() : path.substr(slash);
  }
  if (!rooted && result.starts_with('/')) result.erase(0, 1);
  return result;
}

bool isLoopback(std::string_view host) {
  if (host == "localhost" || host.ends_with(".localhost") || host == "[::1]") return true;
  return host.starts_with("127.") && std::ranges::count(host, '.') == 3 && !host.ends_with('.') &&
         host.find("..") == host.npos && host.find_first_not_of("0123456789.") == host.npos;
}

}  // namespace

std::optional<Url> Url::parse(std::string_view text) {
  if (text.empty()) return std::nullopt;
  Url url;
  url.fragment = takeBehind(text, '#');
  url.query = takeBehind(text, '?');
  if (const auto colon = text.find(':'); colon != text.npos && colon < text.find('/')) {
    if (!isScheme(text.substr(0, colon))) return std::nullopt;
    url.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const auto end = std::min(text.find('/'), text.size());
    if (!isAuthority(text.substr(0, end))) return std::nullopt;
    url.authority = text.substr(0, end);
    text.remove_prefix(end);
  }
  url.path = text;
  const bool sound = consistsOf(url.path, ":@/") && consistsOf(url.query.value_or(""), ":@/?") &&
                     consistsOf(url.fragment.value_or(""), ":@/?");
  if (!sound) return std::nullopt;
  return url;
}

Url Url::resolving(const Url& reference) const {
  if (reference.scheme) return reference;
  Url url = reference;
  url.scheme = scheme;
  if (!reference.authority) {
    url.authority = authority;
    if (reference.path.empty()) {
      url.path = path;
      if (!reference.query) url.query = query;
    } else if (!reference.path.starts_with('/')) {
      const bool bare = authority && path.empty();
      const auto folder = path.rfind('/');
      url.path = bare ? "/" : path.substr(0, folder == path.npos ? 0 : folder + 1);
      url.path += reference.path;
    }
  }
  url.path = withoutDotSegments(url.path);
  return url;
}

std::string Url::string() const {
  std::string text;
  if (scheme) text += *scheme + ":";
  if (authority) text += "//" + *authority;
  text += path;
  if (query) text += "?" + *query;
  if (fragment) text += "#" + *fragment;
  return text;
}

std::string Url::host() const { return authority ? lowercased(split(*authority).host) : std::string(); }

bool Url::isExposed() const { return scheme && lowercased(*scheme) == "http" && !isLoopback(host()); }

}  // namespace pell
