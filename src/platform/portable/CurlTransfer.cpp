#include "platform/portable/CurlTransfer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <fmt/format.h>
#include <netinet/in.h>
#include <utility>

namespace pell {
namespace {

constexpr std::size_t largestHeaders = 256u << 10;

std::string part(CURLU* address, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(address, which, &text, 0) != CURLUE_OK) return {};
  return CurlText(text).get();
}

/// By name or number only: another name that happens to lead to loopback may lead elsewhere tomorrow.
bool isLoopback(std::string host) {
  if (host == "localhost") return true;
  in_addr four{};
  if (inet_pton(AF_INET, host.c_str(), &four) == 1) return ntohl(four.s_addr) >> 24 == 127;
  if (host.size() < 2 || host.front() != '[') return false;
  host = host.substr(1, host.size() - 2);
  in6_addr six{};
  if (inet_pton(AF_INET6, host.c_str(), &six) != 1) return false;
  return IN6_IS_ADDR_LOOPBACK(&six) || (IN6_IS_ADDR_V4MAPPED(&six) && six.s6_addr[12] == 127);
}

bool isToken(std::string_view text) {
  constexpr std::string_view others = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           others.find(static_cast<char>(c)) != std::string_view::npos;
  });
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return result;
}

Seconds sane(Seconds limit) {
  constexpr Seconds longest{1e8};
  return limit > Seconds(0) ? std::min(limit, longest) : Seconds(0);
}

}  // namespace

CurlTransfer::CurlTransfer(HttpRequest request, std::function<void(HttpOutcome)> completion,
                           std::size_t largestReply)
    : request_(std::move(request)), completion_(std::move(completion)), largestReply_(largestReply) {}

std::optional<std::string> CurlTransfer::prepare(Instant now) {
  started_ = lastMoved_ = now;
  easy_.reset(curl_easy_init());
  if (!easy_) return "Out of memory.";
  if (auto refused = prepareAddress()) return refused;
  if (auto refused = prepareHeaders()) return refused;
  prepareBody();

  CURL* easy = easy_.get();
  curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
  curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  // A name that is still being looked up holds up neither a time-out nor the end of the session.
  curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(largestReply_));

  using Taker = std::size_t (*)(char*, std::size_t, std::size_t, void*);
  const Taker header = [](char* bytes, std::size_t, std::size_t size, void* self) {
    return static_cast<CurlTransfer*>(self)->takeHeader({bytes, size});
  };
  const Taker body = [](char* bytes, std::size_t, std::size_t size, void* self) {
    return static_cast<CurlTransfer*>(self)->takeBody({bytes, size});
  };
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, header);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, body);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
  return std::nullopt;
}

std::optional<std::string> CurlTransfer::prepareAddress() {
  address_.reset(curl_url());
  if (!address_ ||
      curl_url_set(address_.get(), CURLUPART_URL, request_.url.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK) {
    return "The address cannot be read.";
  }
  const auto scheme = part(address_.get(), CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https")
    return fmt::format("Addresses of {}: are not supported.", scheme);
  const bool loopback = isLoopback(part(address_.get(), CURLUPART_HOST));
  if (scheme == "http" && !loopback) return "Plain HTTP goes to this machine only; other servers need https.";
  // The handle that was checked is the one that is used, so no second reading can differ.
  curl_easy_setopt(easy_.get(), CURLOPT_CURLU, address_.get());
  if (loopback) curl_easy_setopt(easy_.get(), CURLOPT_PROXY, "");
  return std::nullopt;
}

std::optional<std::string> CurlTransfer::prepareHeaders() {
  bool typed = false;
  const auto append = [this](const std::string& line) {
    if (auto* longer = curl_slist_append(headers_.get(), line.c_str())) {
      (void)headers_.release();
      headers_.reset(longer);
    }
  };
  for (const auto& [name, value] : request_.headers) {
    if (!isToken(name) || value.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
      return "A header cannot be sent.";
    }
    typed = typed || lowered(name) == "content-type";
    append(value.empty() ? name + ";" : name + ": " + value);
  }
  append("Expect:");  // curl would otherwise wait for a server's leave before a long body
  if (!typed) append("Content-Type:");
  curl_easy_setopt(easy_.get(), CURLOPT_HTTPHEADER, headers_.get());
  return isToken(request_.method) ? std::nullopt : std::optional<std::string>("The method cannot be sent.");
}

void CurlTransfer::prepareBody() {
  CURL* easy = easy_.get();
  const auto& method = request_.method;
  if (method == "HEAD") {
    curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
    return;
  }
  if (!request_.body.empty() || method == "POST" || method == "PUT" || method == "PATCH") {
    curl_easy_setopt(easy, CURLOPT_POST, 1L);
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request_.body.data());
  }
  curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, method.c_str());
}

std::size_t CurlTransfer::takeHeader(std::string_view line) {
  headerBytes_ += line.size();
  if (headerBytes_ > largestHeaders) {
    refusal_ = "The reply's headers are too long.";
    return 0;
  }
  if (line.starts_with("HTTP/")) {
    response_.headers.clear();  // an interim reply came before
  } else if (const auto colon = line.find(':'); colon != std::string_view::npos) {
    auto [place, added] = response_.headers.try_emplace(lowered(trimmed(line.substr(0, colon))));
    if (!added) place->second += ", ";
    place->second += trimmed(line.substr(colon + 1));
  }
  return line.size();
}

std::size_t CurlTransfer::takeBody(std::string_view bytes) {
  if (bytes.size() > largestReply_ - response_.body.size()) {
    refusal_ = "The reply is too long.";
    return 0;
  }
  response_.body += bytes;
  return bytes.size();
}

/// A figure that changes whenever anything moves, from the connection's first steps on.
curl_off_t CurlTransfer::progress() const {
  curl_off_t sum = static_cast<curl_off_t>(headerBytes_ + response_.body.size());
  for (auto info : {CURLINFO_SIZE_UPLOAD_T, CURLINFO_NAMELOOKUP_TIME_T, CURLINFO_CONNECT_TIME_T,
                    CURLINFO_APPCONNECT_TIME_T, CURLINFO_PRETRANSFER_TIME_T}) {
    curl_off_t value = 0;
    if (curl_easy_getinfo(easy_.get(), info, &value) == CURLE_OK) sum += value;
  }
  return sum;
}

void CurlTransfer::notice(Instant now) {
  const auto sum = progress();
  if (sum != moved_) lastMoved_ = now;
  moved_ = sum;
}

Instant CurlTransfer::deadline() const {
  return std::min(lastMoved_ + toNanoseconds(sane(request_.timeout)),
                  started_ + toNanoseconds(sane(request_.resourceTimeout)));
}

std::optional<std::string> CurlTransfer::expired(Instant now) const {
  if (now < deadline()) return std::nullopt;
  if (now >= started_ + toNanoseconds(sane(request_.resourceTimeout))) {
    return fmt::format("The exchange took longer than {} s.", request_.resourceTimeout.count());
  }
  return fmt::format("Nothing moved for {} s.", request_.timeout.count());
}

HttpOutcome CurlTransfer::outcome(CURLcode result) {
  switch (result) {
    case CURLE_OK: {
      long status = 0;
      curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
      if (status > 0) response_.status = static_cast<int>(status);
      return std::move(response_);
    }
    // Whoever answered began with something else than HTTP, or with what only looks like it.
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
      return HttpResponse{};
    case CURLE_FILESIZE_EXCEEDED:
      return HttpFailure{"The reply is too long."};
    default:
      return HttpFailure{refusal_.empty() ? curl_easy_strerror(result) : refusal_};
  }
}

void CurlTransfer::complete(HttpOutcome outcome) {
  if (auto completion = std::exchange(completion_, nullptr)) completion(std::move(outcome));
}

}  // namespace pell
