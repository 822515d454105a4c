// Qt WebChannel over its WebSocket server, for a page in a browser: the object that webchannel.cpp
// calls without one. Writes its address as first line, and the page's script to the file that is
// named; ends with its standard input.

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QSocketNotifier>
#include <QWebChannel>
#include <QWebChannelAbstractTransport>
#include <QWebSocket>
#include <QWebSocketServer>
#include <iostream>

namespace {

/// What the page calls.
class Classroom : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE void setAudioRoute(int route) { calls += route; }

  int calls = 0;
};

/// One page's connection.
class Transport : public QWebChannelAbstractTransport {
  Q_OBJECT

 public:
  explicit Transport(QWebSocket* socket) : QWebChannelAbstractTransport(socket), socket_(socket) {
    connect(socket, &QWebSocket::textMessageReceived, this, [this](const QString& text) {
      Q_EMIT messageReceived(QJsonDocument::fromJson(text.toUtf8()).object(), this);
    });
    connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
  }
  void sendMessage(const QJsonObject& message) override {
    socket_->sendTextMessage(
        QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
  }

 private:
  QWebSocket* socket_;
};

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc != 2) {
    std::cerr << "vemo-bench-webchannel-server: name the file for the page's script\n";
    return 2;
  }
  QFile script(QString::fromLocal8Bit(argv[1]));
  script.remove();
  if (!QFile::copy(QStringLiteral(":/qtwebchannel/qwebchannel.js"), script.fileName())) {
    std::cerr << "vemo-bench-webchannel-server: the page's script can't be written to " << argv[1]
              << '\n';
    return 1;
  }

  QWebSocketServer server(QStringLiteral("bench"), QWebSocketServer::NonSecureMode);
  if (!server.listen(QHostAddress::LocalHost)) {
    std::cerr << "vemo-bench-webchannel-server: " << server.errorString().toStdString() << '\n';
    return 1;
  }
  Classroom classroom;
  QWebChannel channel;
  channel.registerObject(QStringLiteral("classroom"), &classroom);
  QObject::connect(&server, &QWebSocketServer::newConnection, &channel,
                   [&] { channel.connectTo(new Transport(server.nextPendingConnection())); });
  std::cout << server.serverUrl().toString().toStdString() << std::endl;

  QSocketNotifier input(0, QSocketNotifier::Read);
  QObject::connect(&input, &QSocketNotifier::activated, &application, [] {
    if (std::cin.get() == EOF) QCoreApplication::quit();
  });
  return QCoreApplication::exec();
}

#include "webchannel-server.moc"
