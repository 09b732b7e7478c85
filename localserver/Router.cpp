#include "localserver/Router.h"

#include <utility>

#include "localserver/AudioDecoder.h"
#include "localserver/Form.h"

namespace pell::localserver {
namespace {

[[noreturn]] void refuse(int status, const char* code, const char* message) {
  throw Refusal({status, code, message});
}

bool fits(BodyKind kind, const std::string& contentType) {
  switch (kind) {
    case BodyKind::none:
      return true;
    case BodyKind::json:
      return contentType == "application/json";
    case BodyKind::form:
      return contentType == "application/x-www-form-urlencoded";
    case BodyKind::audio:
      return isKnownAudioType(contentType);
  }
  return false;
}

nlohmann::json parseObject(const std::string& text) {
  auto body = nlohmann::json::parse(text, nullptr, false);
  if (!body.is_object()) refuse(400, "BAD_REQUEST", "The request's body is not a JSON object.");
  return body;
}

nlohmann::json parseBody(BodyKind kind, const std::string& text) {
  if (kind == BodyKind::json) return parseObject(text);
  if (kind == BodyKind::form) return parseForm(text);
  return {};
}

}  // namespace

HttpReply jsonReply(const nlohmann::json& body) {
  return {.status = 200, .body = body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)};
}

std::string requiredString(const nlohmann::json& body, const std::string& key) {
  const auto value = body.find(key);
  if (value == body.end() || !value->is_string()) {
    throw Refusal({400, "BAD_REQUEST", "The request lacks the text \"" + key + "\"."});
  }
  return value->get<std::string>();
}

Router::Router(Setup setup) : setup_(std::move(setup)) {}

Admission Router::admit(const RequestHead& head) {
  Admission admission;
  admission.bodyLimit = jsonLimit;
  const Route* route = find(head);
  const auto refusal = guarded(route, head, [&] {
    if (!route) refuseUnknown(head);
    if (route->body == BodyKind::audio) admission.bodyLimit = audioLimit;
    admission.effort = route->effort;
    const Caller caller = check(*route, head);
    admission.work = [this, route, caller, turn = turnFor(*route, caller)](const HttpRequest& request) {
      return guarded(route, request.head, [&] { return answer(*route, caller, request); });
    };
    return HttpReply{};
  });
  if (!admission.work) admission.refusal = refusal;
  return admission;
}

const Route* Router::find(const RequestHead& head) const {
  for (const Route& route : setup_.routes) {
    if (route.path == head.path && route.method == head.method) return &route;
  }
  return nullptr;
}

void Router::refuseUnknown(const RequestHead& head) const {
  for (const Route& route : setup_.routes) {
    if (route.path == head.path) refuse(405, "METHOD_NOT_ALLOWED", "That is not how this address is used.");
  }
  refuse(404, "NOT_FOUND", "There is nothing at this address.");
}

Caller Router::check(const Route& route, const RequestHead& head) {
  Caller caller;
  if (route.access == Access::signedIn) {
    auto known = setup_.sessions.authenticate(head.bearerToken);
    if (!known) refuse(401, "UNAUTHORIZED", "Sign in first.");
    caller = std::move(*known);
  }
  if (!fits(route.body, head.contentType)) {
    refuse(415, "UNSUPPORTED_MEDIA_TYPE", "The request's body is of a type that is not understood here.");
  }
  // One kind of attempt does not use up another: a flood of sign-ins leaves those be who are signed in.
  if (route.access == Access::attempt &&
      !setup_.attempts.allow(route.path + " " + attemptKey(head.clientAddress), AttemptLimit::Clock::now())) {
    refuse(429, "TOO_MANY_ATTEMPTS", "Too many attempts. Wait a minute and try again.");
  }
  if (route.precheck) route.precheck(head, caller);
  return caller;
}

/// Null where the route needs none.
std::shared_ptr<const void> Router::turnFor(const Route& route, const Caller& caller) {
  if (route.effort != Effort::lengthy) return nullptr;
  auto turn = turns_.take(caller.userId);
  if (turn) return turn;
  throw Refusal({.status = 429,
                 .code = "TOO_MANY_DICTATIONS",
                 .message = "Several of your dictations are under way. Try again when one of them is done.",
                 .retryAfter = std::chrono::seconds(5)});
}

HttpReply Router::answer(const Route& route, const Caller& caller, const HttpRequest& request) {
  const nlohmann::json body = parseBody(route.body, request.body);
  return route.handle({.request = request, .caller = caller, .body = body});
}

/// What went wrong in detail is for the log; the client gets a sentence and the request's id.
HttpReply Router::guarded(const Route* route, const RequestHead& head,
                          const std::function<HttpReply()>& work) {
  try {
    return work();
  } catch (const Refusal& refusal) {
    return refused(route, head, refusal.error());
  } catch (const std::bad_alloc&) {
    setup_.log.error("out_of_memory", {{"request_id", head.id}});
    return refused(route, head, {503, "BUSY", "The server is busy. Try again in a moment."});
  } catch (const std::exception& failure) {
    setup_.log.error("request_failed", {{"request_id", head.id}, {"reason", failure.what()}});
    return refused(route, head, {500, "INTERNAL", "Something went wrong on the server. Try again."});
  }
}

HttpReply Router::refused(const Route* route, const RequestHead& head, const ApiError& error) const {
  if (route && route->refusal) {
    HttpReply reply = route->refusal(error);
    addAdvice(error, reply);
    return reply;
  }
  HttpReply reply = errorReply(error, head.id);
  if (error.status == 405) {
    for (const Route& other : setup_.routes) {
      if (other.path == head.path) reply.headers.emplace_back("Allow", other.method);
    }
  }
  return reply;
}

}  // namespace pell::localserver
