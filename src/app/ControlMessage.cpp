#include "app/ControlMessage.h"

#include <nlohmann/json.hpp>

namespace pell {
namespace {

using nlohmann::json;

std::string dump(const json& object) { return object.dump(-1, ' ', false, json::error_handler_t::replace); }

/// The object's text under `key`: empty when there is none, absent when it is no text.
std::optional<std::string> text(const json& object, const char* key) {
  auto found = object.find(key);
  if (found == object.end()) return std::string();
  if (!found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

}  // namespace

std::string encode(const ControlRequest& request) {
  return dump({{"command", request.command}, {"argument", request.argument}, {"password", request.password}});
}

std::string encode(const ControlReply& reply) { return dump({{"ok", reply.ok}, {"message", reply.message}}); }

std::optional<ControlRequest> decodeRequest(std::string_view line) {
  json object = json::parse(line, nullptr, false);
  if (!object.is_object()) return std::nullopt;
  auto command = text(object, "command");
  auto argument = text(object, "argument");
  auto password = text(object, "password");
  if (!command || command->empty() || !argument || !password) return std::nullopt;
  return ControlRequest{std::move(*command), std::move(*argument), std::move(*password)};
}

std::optional<ControlReply> decodeReply(std::string_view line) {
  json object = json::parse(line, nullptr, false);
  if (!object.is_object() || !object.contains("ok") || !object["ok"].is_boolean()) return std::nullopt;
  auto message = text(object, "message");
  if (!message) return std::nullopt;
  return ControlReply{object["ok"].get<bool>(), std::move(*message)};
}

}  // namespace pell
