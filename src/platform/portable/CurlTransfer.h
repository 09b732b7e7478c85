// One exchange of the HTTP session.
#pragma once

#include <cstddef>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/HttpSession.h"

namespace pell {

template <auto free>
struct CurlFree {
  void operator()(auto* thing) const { free(thing); }
};
using CurlEasy = std::unique_ptr<CURL, CurlFree<curl_easy_cleanup>>;
using CurlMulti = std::unique_ptr<CURLM, CurlFree<curl_multi_cleanup>>;
using CurlAddress = std::unique_ptr<CURLU, CurlFree<curl_url_cleanup>>;
using CurlList = std::unique_ptr<curl_slist, CurlFree<curl_slist_free_all>>;
using CurlText = std::unique_ptr<char, CurlFree<curl_free>>;

/// A request on its way, with what has come back so far and the two clocks that limit it. Lives on the
/// session's thread.
class CurlTransfer {
 public:
  CurlTransfer(HttpRequest request, std::function<void(HttpOutcome)> completion, std::size_t largestReply);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  /// Makes the request ready for curl. Not empty when it must not or cannot be sent: why.
  std::optional<std::string> prepare(Instant now);

  CURL* handle() const { return easy_.get(); }

  /// Looks whether bytes have moved since the last look.
  void notice(Instant now);

  /// When the transfer fails unless bytes move before; and why, once that moment has come.
  Instant deadline() const;
  std::optional<std::string> expired(Instant now) const;

  /// What curl's verdict means.
  HttpOutcome outcome(CURLcode result);

  void complete(HttpOutcome outcome);

 private:
  std::optional<std::string> prepareAddress();
  std::optional<std::string> prepareHeaders();
  void prepareBody();
  std::size_t takeHeader(std::string_view line);
  std::size_t takeBody(std::string_view bytes);
  curl_off_t progress() const;

  HttpRequest request_;
  std::function<void(HttpOutcome)> completion_;
  std::size_t largestReply_;
  CurlAddress address_;
  CurlList headers_;
  HttpResponse response_;
  std::size_t headerBytes_ = 0;
  std::string refusal_;  // why a reply was not taken to its end
  curl_off_t moved_ = 0;
  Instant started_;
  Instant lastMoved_;
  CurlEasy easy_;  // last: it points into what stands above
};

}  // namespace pell
