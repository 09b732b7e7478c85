#include "HttpClient.h"

#include <arpa/inet.h>
#include <array>
#include <curl/curl.h>
#include <memory>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace pell::localserver {
namespace {

std::size_t collectBody(char* data, std::size_t, std::size_t size, void* context) {
  static_cast<Answer*>(context)->body.append(data, size);
  return size;
}

std::size_t collectHeader(char* data, std::size_t, std::size_t size, void* context) {
  const std::string line(data, size);
  const auto colon = line.find(": ");
  if (colon != std::string::npos) {
    std::string name = line.substr(0, colon);
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    static_cast<Answer*>(context)->headers[name] = line.substr(colon + 2, line.size() - colon - 4);
  }
  return size;
}

}  // namespace

std::string Answer::errorCode() const {
  const auto error = json();
  if (!error.is_object() || error.size() != 4) return "no error body: " + body;
  if (!error.value("error", nlohmann::json()).is_string()) return "no sentence";
  if (!error.value("request_id", nlohmann::json()).is_string()) return "no request id";
  if (error.value("status", 0) != status) return "another status";
  if (headers.at("content-type") != "application/json") return "another content type";
  return error.value("code", "no code");
}

Answer send(std::uint16_t port, const Ask& ask) {
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy(curl_easy_init(), &curl_easy_cleanup);
  curl_slist* lines = nullptr;
  for (const std::string& line : ask.headers) lines = curl_slist_append(lines, line.c_str());
  if (!ask.token.empty()) lines = curl_slist_append(lines, ("Authorization: Bearer " + ask.token).c_str());
  lines = curl_slist_append(lines, ("Content-Type: " + ask.contentType).c_str());
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> owned(lines, &curl_slist_free_all);
  Answer answer;
  const std::string url = "http://127.0.0.1:" + std::to_string(port) + ask.path;
  curl_easy_setopt(easy.get(), CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy.get(), CURLOPT_NOPROXY, "*");
  curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy.get(), CURLOPT_TIMEOUT, 60L);
  if (ask.method != "GET" || !ask.body.empty()) {
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(ask.body.size()));
    curl_easy_setopt(easy.get(), CURLOPT_POSTFIELDS, ask.body.data());
  }
  curl_easy_setopt(easy.get(), CURLOPT_CUSTOMREQUEST, ask.method.c_str());
  curl_easy_setopt(easy.get(), CURLOPT_HTTPHEADER, lines);
  curl_easy_setopt(easy.get(), CURLOPT_WRITEFUNCTION, &collectBody);
  curl_easy_setopt(easy.get(), CURLOPT_WRITEDATA, &answer);
  curl_easy_setopt(easy.get(), CURLOPT_HEADERFUNCTION, &collectHeader);
  curl_easy_setopt(easy.get(), CURLOPT_HEADERDATA, &answer);
  curl_easy_perform(easy.get());
  curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
  return answer;
}

RawConnection::RawConnection(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval limit{.tv_sec = 20, .tv_usec = 0};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("no connection");
  }
}

RawConnection::~RawConnection() { close(socket_); }

void RawConnection::write(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    const ssize_t count = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

std::string RawConnection::read(const std::string& ending) {
  std::string text;
  std::array<char, 4096> buffer{};
  while (ending.empty() || text.find(ending) == std::string::npos) {
    const ssize_t count = recv(socket_, buffer.data(), buffer.size(), 0);
    if (count <= 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace pell::localserver
