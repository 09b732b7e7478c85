#include "server/ApiFailure.h"

namespace pell {
namespace {

struct Describe {
  std::string operator()(const ApiFailure::Api& failure) const { return failure.message; }
  std::string operator()(const ApiFailure::Offline&) const {
    return "Pell can't reach the server. Check your connection and try again.";
  }
  std::string operator()(const ApiFailure::SignedOut&) const {
    return "Your session expired. Sign in again.";
  }
  std::string operator()(const ApiFailure::MalformedResponse&) const {
    return "The server sent something Pell could not read.";
  }
};

}  // namespace

ApiFailure::ApiFailure(Content content)
    : content_(std::move(content)), description_(std::visit(Describe(), content_)) {}

ApiFailure ApiFailure::api(std::string code, std::string message, std::int64_t status) {
  return Content(Api{.code = std::move(code), .message = std::move(message), .status = status});
}

bool ApiFailure::hasCode(std::string_view code) const {
  const auto* api = std::get_if<Api>(&content_);
  return api && api->code == code;
}

}  // namespace pell
