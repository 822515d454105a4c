#include "engine/JanusConnection.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <utility>

#include "engine/JanusEvent.h"

namespace vemo::janus {
namespace {

using boost::json::object;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongestDestroy{2'000};
constexpr guint64 kLargestMessage = guint64{1} << 22U;

template <class T>
std::unique_ptr<T, decltype(&g_object_unref)> owned(T* pointer) {
  return {pointer, g_object_unref};
}

std::uint64_t numberAt(const object& from, std::string_view key) {
  const auto* value = from.if_contains(key);
  if (value && value->is_uint64()) return value->get_uint64();
  return value && value->is_int64() && value->get_int64() > 0
             ? static_cast<std::uint64_t>(value->get_int64())
             : 0;
}

/// What is wrong with a certificate.
std::string sentenceOf(GTlsCertificateFlags errors) {
  const auto has = [errors](GTlsCertificateFlags one) { return (errors & one) != 0; };
  if (has(G_TLS_CERTIFICATE_BAD_IDENTITY)) return "it is another server's";
  if (has(G_TLS_CERTIFICATE_EXPIRED)) return "it has expired";
  if (has(G_TLS_CERTIFICATE_NOT_ACTIVATED)) return "it is not valid yet";
  if (has(G_TLS_CERTIFICATE_REVOKED)) return "it was revoked";
  return "nobody who is trusted vouches for it";
}

bool isUnauthorised(const JanusError& error) {
  return error.kind == JanusError::Kind::refused &&
         (error.code == kJanusUnauthorized || error.code == kJanusNoPermission);
}

JanusError refusal(const object& from, const char* codeKey, const char* textKey) {
  return {JanusError::Kind::refused, static_cast<int>(numberAt(from, codeKey)),
          textAt(from, textKey)};
}

}  // namespace

/// A WebSocket that reports to one connection until it is dropped.
class JanusConnection::Socket : public std::enable_shared_from_this<Socket> {
 public:
  using Opened = std::function<void(std::optional<JanusError>)>;

  Socket() : session_(owned(soup_session_new())), cancel_(owned(g_cancellable_new())) {}
  ~Socket() {
    g_cancellable_cancel(cancel_.get());
    if (!socket_) return;
    g_signal_handlers_disconnect_by_data(socket_, this);
    if (soup_websocket_connection_get_state(socket_) == SOUP_WEBSOCKET_STATE_OPEN) {
      soup_websocket_connection_close(socket_, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    }
    g_object_unref(socket_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  std::function<void(const std::string& text)> onText;
  std::function<void(const std::string& why)> onClosed;

  /// `authorities`: see EngineOptions.
  void open(const std::string& server, const std::string& authorities, Opened opened) {
    if (!authorities.empty()) {
      GError* error = nullptr;
      auto* database = g_tls_file_database_new(authorities.c_str(), &error);
      if (!database) {
        const JanusError why{JanusError::Kind::unreachable, 0, error->message};
        g_error_free(error);
        opened(why);
        return;
      }
      soup_session_set_tls_database(session_.get(), G_TLS_DATABASE(database));
      g_object_unref(database);
    }
    SoupMessage* raw = soup_message_new("GET", server.c_str());
    if (!raw) {
      opened(JanusError{JanusError::Kind::unreachable, 0, "\"" + server + "\" is no address"});
      return;
    }
    const auto message = owned(raw);
    using Judge = gboolean (*)(SoupMessage*, GTlsCertificate*, GTlsCertificateFlags, gpointer);
    const Judge judge = [](SoupMessage*, GTlsCertificate*, GTlsCertificateFlags errors,
                           gpointer self) -> gboolean {
      static_cast<Socket*>(self)->badCertificate_ = errors;
      return FALSE;
    };
    g_signal_connect(raw, "accept-certificate", G_CALLBACK(judge), this);
    std::string protocol = "janus-protocol";
    std::array<char*, 2> protocols{protocol.data(), nullptr};
    struct Opening {
      std::weak_ptr<Socket> socket;
      Opened opened;
    };
    soup_session_websocket_connect_async(
        session_.get(), message.get(), nullptr, protocols.data(), G_PRIORITY_DEFAULT, cancel_.get(),
        [](GObject* source, GAsyncResult* result, gpointer data) {
          const std::unique_ptr<Opening> opening(static_cast<Opening*>(data));
          GError* error = nullptr;
          auto* made = soup_session_websocket_connect_finish(SOUP_SESSION(source), result, &error);
          const auto self = opening->socket.lock();
          if (made && self) {
            self->adopt(made);
            opening->opened(std::nullopt);
          } else if (made) {
            g_object_unref(made);
          } else {
            std::string why = error->message;
            g_error_free(error);
            if (!self) return;
            if (self->badCertificate_ != 0) {
              why = "its certificate is refused, as " + sentenceOf(self->badCertificate_);
            }
            opening->opened(JanusError{JanusError::Kind::unreachable, 0, why});
          }
        },
        new Opening{weak_from_this(), std::move(opened)});
  }

  void send(const std::string& text) {
    if (socket_ && soup_websocket_connection_get_state(socket_) == SOUP_WEBSOCKET_STATE_OPEN) {
      soup_websocket_connection_send_text(socket_, text.c_str());
    }
  }

 private:
  void adopt(SoupWebsocketConnection* socket) {
    socket_ = socket;
    soup_websocket_connection_set_max_incoming_payload_size(socket_, kLargestMessage);
    using Message = void (*)(SoupWebsocketConnection*, gint, GBytes*, gpointer);
    const Message message = [](SoupWebsocketConnection*, gint, GBytes* bytes, gpointer self) {
      gsize size = 0;
      const auto* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
      const auto held = static_cast<Socket*>(self)->shared_from_this();
      held->onText(std::string(data, size));
    };
    using Closed = void (*)(SoupWebsocketConnection*, gpointer);
    const Closed closed = [](SoupWebsocketConnection*, gpointer self) {
      const auto held = static_cast<Socket*>(self)->shared_from_this();
      held->onClosed("the server closed the connection");
    };
    g_signal_connect(socket_, "message", G_CALLBACK(message), this);
    g_signal_connect(socket_, "closed", G_CALLBACK(closed), this);
  }

  const std::unique_ptr<SoupSession, decltype(&g_object_unref)> session_;
  const std::unique_ptr<GCancellable, decltype(&g_object_unref)> cancel_;
  SoupWebsocketConnection* socket_ = nullptr;
  GTlsCertificateFlags badCertificate_{};
};

JanusConnection::JanusConnection(EngineThread& thread, Settings settings, Listener listener)
    : thread_(thread), settings_(std::move(settings)), listener_(std::move(listener)) {}

JanusConnection::~JanusConnection() = default;

bool JanusConnection::isOpen() const { return phase_ == Phase::open; }
const std::string& JanusConnection::server() const { return settings_.server; }
std::optional<JanusConnection::Milliseconds> JanusConnection::roundTrip() const {
  return roundTrip_;
}

void JanusConnection::open(Answer answer) {
  phase_ = Phase::opening;
  connect(
      [this, answer = std::move(answer), busy = thread_.busy()](std::optional<JanusError> error) {
        if (error) {
          phase_ = Phase::closed;
          socket_.reset();
          answer({std::move(error), {}});
          return;
        }
        createSession([this, answer](Result result) {
          if (result.error) {
            phase_ = Phase::closed;
            socket_.reset();
          } else {
            phase_ = Phase::open;
            keepAlive();
          }
          answer(std::move(result));
        });
      });
}

void JanusConnection::createSession(Answer answer) {
  request({{"janus", "create"}}, false, [this, answer = std::move(answer)](Result result) {
    if (!result.error) {
      const auto* data = result.answer.if_contains("data");
      session_ = data && data->is_object() ? numberAt(data->get_object(), "id") : 0;
      if (session_ == 0) {
        result.error = JanusError{JanusError::Kind::refused, 0, "the server gave no session"};
      }
    }
    answer(std::move(result));
  });
}

void JanusConnection::connect(std::function<void(std::optional<JanusError>)> done) {
  // Whichever comes first: the socket, or the end of patience.
  auto once = std::make_shared<std::function<void(std::optional<JanusError>)>>(std::move(done));
  const auto finish = [once](std::optional<JanusError> error) {
    if (const auto call = std::exchange(*once, nullptr)) call(std::move(error));
  };
  socket_ = std::make_shared<Socket>();
  socket_->onText = [this](const std::string& text) {
    const auto self = shared_from_this();
    received(text);
  };
  socket_->onClosed = [this](const std::string& why) {
    const auto self = shared_from_this();
    socketLost(why);
  };
  auto timeout = thread_.after(settings_.answerTimeout, [finish, weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      finish(JanusError{JanusError::Kind::timedOut, 0, "the server does not answer"});
    }
  });
  socket_->open(settings_.server, settings_.authorities,
                [finish, timeout = std::move(timeout),
                 weak = weak_from_this()](std::optional<JanusError> error) {
                  if (const auto self = weak.lock()) finish(std::move(error));
                });
}

void JanusConnection::close() {
  if (phase_ == Phase::ending) return;
  const bool hasSession = session_ != 0 && phase_ != Phase::lost;
  phase_ = Phase::ending;
  keepalive_.reset();
  retry_.reset();
  pending_.clear();
  if (!hasSession) {
    socket_.reset();
    return;
  }
  // Kept until the server has heard it, so that the others see a leave and no time-out.
  request({{"janus", "destroy"}}, false,
          [self = shared_from_this()](const Result&) { self->socket_.reset(); });
}

void JanusConnection::attach(const std::string& plugin,
                             std::function<void(Result, std::uint64_t)> answer) {
  request({{"janus", "attach"}, {"plugin", plugin}}, false,
          [answer = std::move(answer)](Result result) {
            const auto* data = result.answer.if_contains("data");
            const auto handle = data && data->is_object() ? numberAt(data->get_object(), "id") : 0;
            answer(std::move(result), handle);
          });
}

void JanusConnection::message(std::uint64_t handle, object body, std::optional<object> jsep,
                              Answer answer) {
  object request{{"janus", "message"}, {"handle_id", handle}, {"body", std::move(body)}};
  if (jsep) request["jsep"] = std::move(*jsep);
  this->request(std::move(request), true, [answer = std::move(answer)](Result result) {
    if (!result.error) {
      object data;
      if (auto* plugin = result.answer.if_contains("plugindata"); plugin && plugin->is_object()) {
        if (auto* inner = plugin->get_object().if_contains("data"); inner && inner->is_object()) {
          data = std::move(inner->get_object());
        }
      }
      if (data.contains("error_code")) {
        result.error = refusal(data, "error_code", "error");
      }
      if (auto* given = result.answer.if_contains("jsep")) data["jsep"] = std::move(*given);
      result.answer = std::move(data);
    }
    answer(std::move(result));
  });
}

void JanusConnection::tell(std::uint64_t handle, const std::string& what, object more) {
  more["janus"] = what;
  more["handle_id"] = handle;
  request(std::move(more), false, [](const Result&) {});
}

void JanusConnection::ping(Answer answer) {
  request({{"janus", "keepalive"}}, false, std::move(answer));
}

void JanusConnection::request(object request, bool untilEvent, Answer answer) {
  if (!socket_ || phase_ == Phase::lost) {
    answer({JanusError{JanusError::Kind::lost, 0, "there is no connection"}, {}});
    return;
  }
  const auto transaction = std::to_string(++sent_);
  request["transaction"] = transaction;
  if (session_ != 0 && !request.contains("session_id")) request["session_id"] = session_;
  if (!settings_.token.empty()) request["token"] = settings_.token;
  const auto patience = phase_ == Phase::ending ? std::min(kLongestDestroy, settings_.answerTimeout)
                                                : settings_.answerTimeout;
  auto timeout = thread_.after(patience, [weak = weak_from_this(), transaction] {
    if (const auto self = weak.lock()) {
      self->finish(transaction,
                   {JanusError{JanusError::Kind::timedOut, 0, "the server does not answer"}, {}});
    }
  });
  pending_.emplace(transaction,
                   Pending{std::move(answer), untilEvent, std::move(timeout), thread_.busy()});
  socket_->send(boost::json::serialize(request));
}

void JanusConnection::finish(const std::string& transaction, Result result) {
  auto found = pending_.extract(transaction);
  if (found.empty()) return;
  const auto self = shared_from_this();
  if (found.mapped().answer) found.mapped().answer(std::move(result));
}

void JanusConnection::failPending(const JanusError& why) {
  const auto self = shared_from_this();
  for (auto& [transaction, pending] : std::exchange(pending_, {})) {
    if (pending.answer) pending.answer({why, {}});
  }
}

void JanusConnection::received(const std::string& text) {
  boost::json::error_code bad;
  auto value = boost::json::parse(text, bad);
  if (bad || !value.is_object()) return;  // who sent what it answers will miss it
  auto& message = value.get_object();
  const auto kind = textAt(message, "janus");
  const auto transaction = textAt(message, "transaction");
  if (const auto found = pending_.find(transaction); found != pending_.end()) {
    if (kind == "ack" && found->second.untilEvent) return;
    Result result;
    if (kind == "error") {
      const auto* error = message.if_contains("error");
      result.error = error && error->is_object()
                         ? refusal(error->get_object(), "code", "reason")
                         : JanusError{JanusError::Kind::refused, 0, "the server names no reason"};
    }
    result.answer = std::move(message);
    finish(transaction, std::move(result));
    return;
  }
  if (phase_ != Phase::open || kind.empty()) return;
  if (kind == "timeout") {
    socketLost("the server ended the session");
  } else if (kind != "ack" && kind != "success" && kind != "error") {
    listener_.onEvent(numberAt(message, "sender"), message);
  }
}

void JanusConnection::keepAlive() {
  keepaliveUnanswered_ = false;
  keepalive_ = thread_.every(settings_.keepalive, [this] {
    const auto self = shared_from_this();
    if (keepaliveUnanswered_) {
      socketLost("the server is silent");
      return;
    }
    keepaliveUnanswered_ = true;
    ping([this, sent = Clock::now()](const Result& result) {
      if (result.error && isUnauthorised(*result.error)) return ended(*result.error);
      if (result.error) return;
      keepaliveUnanswered_ = false;
      roundTrip_ = std::chrono::duration_cast<Milliseconds>(Clock::now() - sent);
    });
  });
}

void JanusConnection::socketLost(const std::string& why) {
  socket_.reset();
  keepalive_.reset();
  const JanusError error{JanusError::Kind::lost, 0, why};
  if (phase_ == Phase::opening || phase_ == Phase::ending || phase_ == Phase::lost) {
    failPending(error);
    return;
  }
  if (phase_ != Phase::open) return;
  phase_ = Phase::lost;
  failPending(error);
  if (phase_ != Phase::lost) return;
  listener_.onLost();
  if (phase_ != Phase::lost) return;
  pause_ = settings_.firstPause;
  retryLater();
}

void JanusConnection::retryLater() {
  retry_ = thread_.after(pause_, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->retry();
  });
  pause_ = std::min(2 * pause_, settings_.longestPause);
}

void JanusConnection::retry() {
  listener_.onRetry();
  if (phase_ != Phase::lost) return;
  connect([this](const std::optional<JanusError>& error) {
    if (phase_ != Phase::lost) return;
    if (error) {
      socket_.reset();
      retryLater();
      return;
    }
    // For what passes over the socket from here on there is a connection.
    phase_ = Phase::opening;
    request({{"janus", "claim"}}, false, [this](const Result& result) {
      if (!result.error) {
        recovered(true);
      } else if (result.error->kind != JanusError::Kind::refused) {
        phase_ = Phase::lost;
        socket_.reset();
        retryLater();
      } else {
        session_ = 0;
        createSession([this](const Result& made) {
          if (!made.error) {
            recovered(false);
          } else if (made.error->kind == JanusError::Kind::refused) {
            ended(*made.error);
          } else {
            phase_ = Phase::lost;
            socket_.reset();
            retryLater();
          }
        });
      }
    });
  });
}

void JanusConnection::ended(const JanusError& why) {
  phase_ = Phase::closed;
  keepalive_.reset();
  socket_.reset();
  failPending(why);
  listener_.onEnded(why);
}

void JanusConnection::recovered(bool sameSession) {
  phase_ = Phase::open;
  keepAlive();
  listener_.onRecovered(sameSession);
}

}  // namespace vemo::janus
