#pragma once

#include <libsoup/soup.h>

#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <functional>
#include <string>
#include <utility>

#include "engine/EngineThread.h"
#include "testing/Arrivals.h"

namespace vemo {

/// A server that speaks as a script says, on a thread of its own.
class FakeJanus {
 public:
  /// Answers a request through `answer`, or doesn't. On the server's thread.
  using Script = std::function<void(FakeJanus& server, const boost::json::object& request)>;

  explicit FakeJanus(Script script) : script_(std::move(script)) {
    Arrivals<bool> started;
    thread_.post([&] {
      server_ = soup_server_new("server-header", "fake", nullptr);
      std::string protocol = "janus-protocol";
      std::array<char*, 2> protocols{protocol.data(), nullptr};
      using Opened = void (*)(SoupServer*, SoupServerMessage*, const char*,
                              SoupWebsocketConnection*, gpointer);
      const Opened opened = [](SoupServer*, SoupServerMessage*, const char*,
                               SoupWebsocketConnection* socket,
                               gpointer self) { static_cast<FakeJanus*>(self)->adopt(socket); };
      soup_server_add_websocket_handler(server_, "/", nullptr, protocols.data(), opened, this,
                                        nullptr);
      listen(0);
      started.add(true);
    });
    started.next();
  }
  ~FakeJanus() {
    Arrivals<bool> ended;
    thread_.post([&] {
      drop();
      soup_server_disconnect(server_);
      g_object_unref(server_);
      ended.add(true);
    });
    ended.next();
  }
  FakeJanus(const FakeJanus&) = delete;
  FakeJanus& operator=(const FakeJanus&) = delete;

  std::string url() const { return "ws://127.0.0.1:" + std::to_string(port_); }

  /// What came in, as "create" or "message join".
  Arrivals<boost::json::object> requests;

  // On the server's thread, such as in the script.
  void say(const std::string& text) {
    if (socket_) soup_websocket_connection_send_text(socket_, text.c_str());
  }
  void answer(const boost::json::object& request, boost::json::object answer) {
    answer["transaction"] = request.at("transaction");
    say(boost::json::serialize(answer));
  }
  /// What a server does that has nothing against anything: session 7, handle 8.
  void serve(const boost::json::object& request) {
    const auto& kind = request.at("janus").as_string();
    if (kind == "create") {
      answer(request, {{"janus", "success"}, {"data", {{"id", 7}}}});
    } else if (kind == "attach") {
      answer(request, {{"janus", "success"}, {"data", {{"id", 8}}}});
    } else if (kind == "keepalive") {
      answer(request, {{"janus", "ack"}});
    } else {
      answer(request, {{"janus", "success"}});
    }
  }
  void drop() {
    if (!socket_) return;
    g_signal_handlers_disconnect_by_data(socket_, this);
    if (soup_websocket_connection_get_state(socket_) == SOUP_WEBSOCKET_STATE_OPEN) {
      soup_websocket_connection_close(socket_, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    }
    g_object_unref(std::exchange(socket_, nullptr));
  }
  /// Any thread.
  void onItsThread(EngineThread::Task task) { thread_.post(std::move(task)); }

 private:
  void listen(guint port) {
    GError* error = nullptr;
    if (!soup_server_listen_local(server_, port, SOUP_SERVER_LISTEN_IPV4_ONLY, &error)) {
      ADD_FAILURE() << error->message;
      g_error_free(error);
      return;
    }
    GSList* uris = soup_server_get_uris(server_);
    port_ = g_uri_get_port(static_cast<GUri*>(uris->data));
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
  }
  void adopt(SoupWebsocketConnection* socket) {
    drop();
    socket_ = SOUP_WEBSOCKET_CONNECTION(g_object_ref(socket));
    using Message = void (*)(SoupWebsocketConnection*, gint, GBytes*, gpointer);
    const Message message = [](SoupWebsocketConnection*, gint, GBytes* bytes, gpointer data) {
      auto& self = *static_cast<FakeJanus*>(data);
      gsize size = 0;
      const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
      const auto request = boost::json::parse(std::string_view(text, size)).as_object();
      self.requests.add(request);
      self.script_(self, request);
    };
    g_signal_connect(socket_, "message", G_CALLBACK(message), this);
  }

  const Script script_;
  SoupServer* server_ = nullptr;
  SoupWebsocketConnection* socket_ = nullptr;
  int port_ = 0;
  EngineThread thread_;  // goes first
};

}  // namespace vemo
