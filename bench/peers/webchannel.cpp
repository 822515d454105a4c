// Qt WebChannel: a call of an object's method and a signal, from the page's text to the text that
// the page gets. Its transport leads nowhere. No record is written, which the router does.

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QObject>
#include <QString>
#include <QWebChannel>
#include <QWebChannelAbstractTransport>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

/// What the page calls and listens to.
class Classroom : public QObject {
  Q_OBJECT

 public:
  Q_INVOKABLE void setAudioRoute(int route) { calls += route; }
  Q_INVOKABLE void enterRoom(const QJsonObject& params) { calls += params.size(); }

  int calls = 0;

 Q_SIGNALS:
  void onRemoteUserEnterRoom(const QString& userId, const QString& remoteUserId);
};

class Transport : public QWebChannelAbstractTransport {
 public:
  void receive(const std::string& text) {
    const auto bytes = QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
    Q_EMIT messageReceived(QJsonDocument::fromJson(bytes).object(), this);
  }
  void sendMessage(const QJsonObject& message) override {
    last = QJsonDocument(message).toJson(QJsonDocument::Compact);
  }

  QByteArray last;
};

struct Connected {
  Connected() {
    channel.registerObject("classroom", &classroom);
    channel.connectTo(&transport);
    transport.receive(R"({"type":3,"id":1})");
    transport.receive(R"({"type":7,"object":"classroom","signal":)" +
                      std::to_string(indexOf("onRemoteUserEnterRoom")) + "}");
  }

  int indexOf(const char* name) const {
    const auto* const meta = classroom.metaObject();
    for (int i = 0; i < meta->methodCount(); ++i) {
      if (meta->method(i).name() == name) return i;
    }
    return -1;
  }
  /// The message of the page's own script.
  std::string call(const char* method, const std::string& argument) const {
    return R"({"type":6,"object":"classroom","method":)" + std::to_string(indexOf(method)) +
           R"(,"args":[)" + argument + R"(],"id":1024})";
  }

  Classroom classroom;
  QWebChannel channel;
  Transport transport;
};

void mustBe(bool right, const char* what) {
  if (right) return;
  std::cerr << "vemo-bench-webchannel: " << what << " does not arrive\n";
  std::exit(1);
}

void command(benchmark::State& state, const char* method, const std::string& argument) {
  Connected all;
  const auto message = all.call(method, argument);
  all.transport.receive(message);
  mustBe(all.classroom.calls > 0, method);
  mustBe(all.transport.last.contains("\"id\":1024"), "the answer");
  for (auto round : state) {
    static_cast<void>(round);
    all.transport.receive(message);
  }
}

void event(benchmark::State& state) {
  Connected all;
  const QString userId = "teacher_20210917";
  const QString remoteUserId = "student_20210917_04";
  Q_EMIT all.classroom.onRemoteUserEnterRoom(userId, remoteUserId);
  mustBe(all.transport.last.contains("student_20210917_04"), "the signal");
  for (auto round : state) {
    static_cast<void>(round);
    Q_EMIT all.classroom.onRemoteUserEnterRoom(userId, remoteUserId);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const std::string enterParams =
      R"({"sdkAppId":1400000000,"userId":"teacher_20210917","userSig":")" + std::string(320, 's') +
      R"(","roomId":20210917,"role":20,"appScene":0,"autoRecvAudio":true,"autoRecvVideo":false})";
  benchmark::RegisterBenchmark("command/setAudioRoute/webchannel", command, "setAudioRoute", "1");
  benchmark::RegisterBenchmark("command/enterRoom/webchannel", command, "enterRoom", enterParams);
  benchmark::RegisterBenchmark("event/onRemoteUserEnterRoom/webchannel", event);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}

#include "webchannel.moc"
