#include "main/ControlServer.h"

#include <QLocalSocket>
#include <QPointer>

namespace pell {

ControlServer::ControlServer(Handler handler) : handler_(std::move(handler)) {
  server_.setSocketOptions(QLocalServer::UserAccessOption);
  QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] {
    while (QLocalSocket* client = server_.nextPendingConnection()) accept(client);
  });
}

bool ControlServer::listen(const std::filesystem::path& socket) {
  auto name = QString::fromStdString(socket.string());
  QLocalServer::removeServer(name);
  return server_.listen(name);
}

void ControlServer::accept(QLocalSocket* client) {
  client->setReadBufferSize(static_cast<qint64>(controlLineLimit));
  QObject::connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
  QObject::connect(client, &QLocalSocket::readyRead, &server_, [this, client] { read(client); });
}

void ControlServer::read(QLocalSocket* client) {
  if (!client->canReadLine()) {
    if (client->bytesAvailable() >= static_cast<qint64>(controlLineLimit)) client->abort();
    return;
  }
  auto request = decodeRequest(client->readLine().toStdString());
  Answer answer = [client = QPointer(client)](const ControlReply& reply) {
    if (!client) return;
    client->write(QByteArray::fromStdString(encode(reply) + "\n"));
    client->disconnectFromServer();
  };
  if (request) {
    handler_(*request, std::move(answer));
  } else {
    answer({.ok = false, .message = "That request could not be read."});
  }
}

}  // namespace pell
