#include "localserver/RequestReader.h"

#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <charconv>
#include <microhttpd.h>
#include <netinet/in.h>
#include <sodium.h>
#include <string_view>
#include <sys/socket.h>

namespace pell::localserver {
namespace {

std::string lowerCase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string mediaType(const std::string& header) {
  std::string type = header.substr(0, header.find(';'));
  while (!type.empty() && std::isspace(static_cast<unsigned char>(type.back()))) type.pop_back();
  return lowerCase(std::move(type));
}

std::string bearerToken(const std::string& header) {
  constexpr std::string_view scheme = "bearer ";
  if (header.size() <= scheme.size() || lowerCase(header.substr(0, scheme.size())) != scheme) return "";
  return header.substr(scheme.size());
}

std::string peerAddress(MHD_Connection* connection) {
  const auto* info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  if (!info || !info->client_addr) return "";
  std::array<char, INET6_ADDRSTRLEN> text{};
  if (info->client_addr->sa_family == AF_INET6) {
    const auto* address = reinterpret_cast<const sockaddr_in6*>(info->client_addr);
    inet_ntop(AF_INET6, &address->sin6_addr, text.data(), text.size());
  } else {
    const auto* address = reinterpret_cast<const sockaddr_in*>(info->client_addr);
    inet_ntop(AF_INET, &address->sin_addr, text.data(), text.size());
  }
  return text.data();
}

std::string newRequestId() {
  std::array<unsigned char, 12> bytes{};
  randombytes_buf(bytes.data(), bytes.size());
  std::array<char, 25> hex{};
  return sodium_bin2hex(hex.data(), hex.size(), bytes.data(), bytes.size());
}

MHD_Result collectArgument(void* context, MHD_ValueKind, const char* key, const char* value) {
  auto& query = *static_cast<std::map<std::string, std::string>*>(context);
  query.emplace(key, value ? value : "");
  return MHD_YES;
}

MHD_Result keepLastForwarded(void* context, MHD_ValueKind, const char* key, const char* value) {
  if (lowerCase(key) == "x-forwarded-for") *static_cast<std::string*>(context) = value ? value : "";
  return MHD_YES;
}

/// The last address of the last such line is what our own proxy added; those before it are the client's say.
/// Empty where that is no address.
std::string forwardedAddress(MHD_Connection* connection) {
  std::string chain;
  MHD_get_connection_values(connection, MHD_HEADER_KIND, &keepLastForwarded, &chain);
  const std::string last = chain.substr(chain.find_last_of(", ") + 1);
  in6_addr bytes{};
  const bool known =
      inet_pton(AF_INET, last.c_str(), &bytes) == 1 || inet_pton(AF_INET6, last.c_str(), &bytes) == 1;
  return known ? last : "";
}

}  // namespace

std::string headerValue(MHD_Connection* connection, const char* name) {
  const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
  return value ? value : "";
}

RequestHead readHead(MHD_Connection* connection, const char* path, const char* method, bool behindProxy) {
  std::string forwarded = behindProxy ? forwardedAddress(connection) : "";
  RequestHead head{.id = newRequestId(),
                   .method = method,
                   .path = path,
                   .query = {},
                   .contentType = mediaType(headerValue(connection, MHD_HTTP_HEADER_CONTENT_TYPE)),
                   .bearerToken = bearerToken(headerValue(connection, MHD_HTTP_HEADER_AUTHORIZATION)),
                   .clientAddress = forwarded.empty() ? peerAddress(connection) : std::move(forwarded),
                   .arrived = std::chrono::steady_clock::now()};
  MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, &collectArgument, &head.query);
  return head;
}

std::optional<std::uint64_t> declaredLength(MHD_Connection* connection) {
  const std::string text = headerValue(connection, MHD_HTTP_HEADER_CONTENT_LENGTH);
  std::uint64_t length = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return length;
}

}  // namespace pell::localserver
