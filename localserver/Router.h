// From a request to the function that answers it.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "localserver/AttemptLimit.h"
#include "localserver/Http.h"
#include "localserver/ServerLog.h"
#include "localserver/Sessions.h"
#include "localserver/Turns.h"

namespace pell::localserver {

/// Who may call a route.
enum class Access {
  open,
  /// Open, and limited per address, as passwords and tokens are tried here.
  attempt,
  signedIn,
};

/// What a route expects as its body.
enum class BodyKind { none, json, form, audio };

/// A request on its way to its handler.
struct Call {
  const HttpRequest& request;
  /// Of a route for the signed-in; empty otherwise.
  const Caller& caller;
  /// Of a route with a JSON body or a form: an object. Null otherwise.
  const nlohmann::json& body;
};

/// One row of the table of endpoints. `handle` runs on a worker thread and gives the reply, or throws
/// Refusal.
struct Route {
  std::string method;
  std::string path;
  Access access = Access::signedIn;
  BodyKind body = BodyKind::none;
  Effort effort = Effort::quick;
  std::function<HttpReply(const Call&)> handle;
  /// Throws Refusal for what need not wait for the body; unset where there is nothing of the kind.
  std::function<void(const RequestHead&, const Caller&)> precheck = nullptr;
  /// How a refusal looks; unset: the API's error body.
  std::function<HttpReply(const ApiError&)> refusal = nullptr;
};

/// A handler that replies with the JSON that `work` gives for a call.
template <class Work>
std::function<HttpReply(const Call&)> asJson(Work work);

HttpReply jsonReply(const nlohmann::json& body);

/// The string at `key` of a body. Throws Refusal where it is missing or of another type.
std::string requiredString(const nlohmann::json& body, const std::string& key);

/// Finds the route of a request, turns away what does not fit it, and makes every failure an error reply.
class Router : public HttpApplication {
 public:
  static constexpr std::size_t audioLimit = 25u << 20;
  static constexpr std::size_t jsonLimit = 64u << 10;
  /// Lengthy requests that a user may have under way, from the head of each to its reply.
  static constexpr std::size_t lengthyPerUser = 4;

  struct Setup {
    std::vector<Route> routes;
    Sessions& sessions;
    AttemptLimit& attempts;
    ServerLog& log;
  };

  explicit Router(Setup setup);

  Admission admit(const RequestHead& head) override;
  std::span<const Route> routes() const { return setup_.routes; }

 private:
  const Route* find(const RequestHead& head) const;
  [[noreturn]] void refuseUnknown(const RequestHead& head) const;
  Caller check(const Route& route, const RequestHead& head);
  std::shared_ptr<const void> turnFor(const Route& route, const Caller& caller);
  HttpReply answer(const Route& route, const Caller& caller, const HttpRequest& request);
  HttpReply guarded(const Route* route, const RequestHead& head, const std::function<HttpReply()>& work);
  HttpReply refused(const Route* route, const RequestHead& head, const ApiError& error) const;

  const Setup setup_;
  Turns turns_{lengthyPerUser};
};

template <class Work>
std::function<HttpReply(const Call&)> asJson(Work work) {
  return [work = std::move(work)](const Call& call) { return jsonReply(work(call)); };
}

}  // namespace pell::localserver
