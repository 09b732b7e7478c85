#include "localserver/RemoteCall.h"

#include <fmt/format.h>

namespace pell::localserver {
namespace {

constexpr std::size_t largestReply = 4u << 20;
constexpr long connectSeconds = 10;

struct FreeList {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

std::size_t collect(char* data, std::size_t, std::size_t size, void* context) {
  auto& text = *static_cast<std::string*>(context);
  if (text.size() + size > largestReply) return 0;
  text.append(data, size);
  return size;
}

int stopped(void* context, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  return static_cast<const std::stop_token*>(context)->stop_requested() ? 1 : 0;
}

}  // namespace

void RemoteCall::Free::operator()(CURL* easy) const { curl_easy_cleanup(easy); }
void RemoteCall::Free::operator()(curl_mime* form) const { curl_mime_free(form); }

RemoteCall::RemoteCall(const Setup& setup)
    : setup_(setup), easy_(curl_easy_init()), form_(easy_ ? curl_mime_init(easy_.get()) : nullptr) {
  if (!form_) throw RemoteFailure("no HTTP client could be made");
}

void RemoteCall::addField(const char* name, const std::string& value) {
  curl_mimepart* part = curl_mime_addpart(form_.get());
  curl_mime_name(part, name);
  curl_mime_data(part, value.data(), value.size());
}

void RemoteCall::addFile(const char* name, const File& file) {
  curl_mimepart* part = curl_mime_addpart(form_.get());
  curl_mime_name(part, name);
  curl_mime_data(part, file.content.data(), file.content.size());
  curl_mime_filename(part, file.name.c_str());
  curl_mime_type(part, file.mediaType.c_str());
}

std::string RemoteCall::sendForm() {
  curl_easy_setopt(easy_.get(), CURLOPT_MIMEPOST, form_.get());
  return send(nullptr);
}

std::string RemoteCall::sendJson(const std::string& body) {
  curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDS, body.c_str());
  return send("Content-Type: application/json");
}

std::string RemoteCall::send(const char* contentType) {
  CURL* easy = easy_.get();
  std::unique_ptr<curl_slist, FreeList> headers;
  if (contentType) headers.reset(curl_slist_append(nullptr, contentType));
  if (setup_.key) {
    const std::string bearer = "Authorization: Bearer " + *setup_.key;
    headers.reset(curl_slist_append(headers.release(), bearer.c_str()));
  }
  std::string body;
  curl_easy_setopt(easy, CURLOPT_URL, setup_.url.c_str());
  curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, connectSeconds);
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(setup_.limit.count()));
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &collect);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
  curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &stopped);
  curl_easy_setopt(easy, CURLOPT_XFERINFODATA, const_cast<std::stop_token*>(&setup_.stop));

  const CURLcode result = curl_easy_perform(easy);
  if (result != CURLE_OK) throw RemoteFailure(curl_easy_strerror(result));
  long status = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  if (status < 200 || status > 299) throw RemoteFailure(fmt::format("answered with status {}", status));
  return body;
}

}  // namespace pell::localserver
