// A service on loopback that answers with what the test says.
#pragma once

#include <optional>
#include <string>

#include "localserver/HttpServer.h"
#include "localserver/Listen.h"
#include "localserver/Secrets.h"

namespace pell::localserver {

class ScriptedService : public HttpApplication {
 public:
  explicit ScriptedService(const std::string& path) {
    startCryptography();
    const ListenSocket socket = listenOn("127.0.0.1", 0);
    url = "http://127.0.0.1:" + std::to_string(socket.port) + path;
    server_.emplace(HttpServer::Setup{
        .socket = socket, .application = *this, .finished = {}, .limits = {.idle = std::chrono::seconds(5)}});
  }

  Admission admit(const RequestHead&) override {
    return {.refusal = std::nullopt,
            .bodyLimit = 100u << 20,
            .effort = Effort::quick,
            .work = [this](const HttpRequest& request) {
              last = request;
              return reply;
            }};
  }

  std::string url;
  HttpReply reply;
  HttpRequest last;

 private:
  std::optional<HttpServer> server_;
};

}  // namespace pell::localserver
