#include "localserver/ApiError.h"

#include <nlohmann/json.hpp>

namespace pell::localserver {

std::string errorBody(const ApiError& error, const std::string& requestId) {
  const nlohmann::json body = {
      {"error", error.message}, {"code", error.code}, {"status", error.status}, {"request_id", requestId}};
  return body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace pell::localserver
