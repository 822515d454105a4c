// libjsonrpccpp: a call of a server's method, from the text of the request to that of the response,
// and a notification, whose text its client writes. Nothing is connected. No record is written,
// which the router does.

#include <benchmark/benchmark.h>
#include <jsonrpccpp/client.h>
#include <jsonrpccpp/server.h>

#include <cstdlib>
#include <iostream>
#include <string>

namespace {

class Connector : public jsonrpc::AbstractServerConnector {
 public:
  bool StartListening() override { return true; }
  bool StopListening() override { return true; }
  bool SendResponse(const std::string& response, void*) override {
    last = response;
    return true;
  }

  std::string last;
};

class Classroom : public jsonrpc::AbstractServer<Classroom> {
 public:
  explicit Classroom(Connector& connector) : AbstractServer(connector) {
    using namespace jsonrpc;
    bindAndAddMethod(Procedure("setAudioRoute", PARAMS_BY_NAME, JSON_BOOLEAN, "route", JSON_INTEGER,
                               static_cast<char*>(nullptr)),
                     &Classroom::setAudioRoute);
    bindAndAddMethod(
        Procedure("enterRoom", PARAMS_BY_NAME, JSON_BOOLEAN, static_cast<char*>(nullptr)),
        &Classroom::enterRoom);
  }

  void setAudioRoute(const Json::Value& params, Json::Value& result) {
    calls += params["route"].asInt();
    result = true;
  }
  void enterRoom(const Json::Value& params, Json::Value& result) {
    calls += params["role"].asInt();
    result = true;
  }

  int calls = 0;
};

class Page : public jsonrpc::IClientConnector {
 public:
  void SendRPCMessage(const std::string& message,
                      std::string& /*result*/) throw(jsonrpc::JsonRpcException) override {
    last = message;
  }

  std::string last;
};

void mustBe(bool right, const std::string& what) {
  if (right) return;
  std::cerr << "vemo-bench-jsonrpc: " << what << " does not arrive\n";
  std::exit(1);
}

void command(benchmark::State& state, const std::string& method, const std::string& params) {
  Connector connector;
  Classroom classroom(connector);
  const std::string message =
      R"({"jsonrpc":"2.0","id":1024,"method":")" + method + R"(","params":)" + params + "}";
  connector.OnRequest(message);
  mustBe(classroom.calls > 0, method);
  mustBe(connector.last.find("1024") != std::string::npos, "the answer");
  for (auto round : state) {
    static_cast<void>(round);
    connector.OnRequest(message);
  }
}

void event(benchmark::State& state) {
  Page page;
  jsonrpc::Client client(page);
  const auto tell = [&] {
    Json::Value payload;
    payload["userId"] = "teacher_20210917";
    payload["remoteUserId"] = "student_20210917_04";
    client.CallNotification("onRemoteUserEnterRoom", payload);
  };
  tell();
  mustBe(page.last.find("student_20210917_04") != std::string::npos, "the notification");
  for (auto round : state) {
    static_cast<void>(round);
    tell();
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string enterParams =
      R"({"sdkAppId":1400000000,"userId":"teacher_20210917","userSig":")" + std::string(320, 's') +
      R"(","roomId":20210917,"role":20,"appScene":0,"autoRecvAudio":true,"autoRecvVideo":false})";
  benchmark::RegisterBenchmark("command/setAudioRoute/jsonrpc", command, "setAudioRoute",
                               R"({"route":1})");
  benchmark::RegisterBenchmark("command/enterRoom/jsonrpc", command, "enterRoom", enterParams);
  benchmark::RegisterBenchmark("event/onRemoteUserEnterRoom/jsonrpc", event);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
