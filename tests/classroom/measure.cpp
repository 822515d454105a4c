// What the router adds to the way between a page in a WebKitGTK view and the application: prints
// the rows that docs/performance.md shows. Needs a display.

#include <webkit2/webkit2.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "classroom/DesktopWebView.h"
#include "platform/JSMsgRouter.h"
#include "platform/JsonLineLogger.h"
#include "platform/MainThreadQueue.h"
#include "platform/ReplyDelivery.h"
#include "testing/FakePlatform.h"
#include "testing/NullEngine.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

constexpr int kCalls = 1000;
constexpr int kRounds = 9;

/// The same function answers an echo and the router: what is different is who makes the answer.
constexpr std::string_view kPage = R"(<script>
  let answered;
  const answer = () => answered();
  const roads = {
    echo: (call) => webkit.messageHandlers.echo.postMessage(call),
    router: (call) => webkit.messageHandlers.router.postMessage(call),
  };
  async function measure(road, calls, atOnce) {
    const call = JSON.stringify({
      head: { module: 'kobu', action: 'setAudioRoute' }, params: { route: 1 }, cbid: 'cb_1024',
    });
    const start = performance.now();
    for (let sent = 0; sent < calls; sent += atOnce) {
      await new Promise((resolve) => {
        let missing = atOnce;
        answered = () => --missing || resolve();
        for (let i = 0; i < atOnce; ++i) roads[road](call);
      });
    }
    return (performance.now() - start) * 1000 / calls;
  }
</script>)";

class View {
 public:
  View() {
    auto* scripts = webkit_user_content_manager_new();
    listen(scripts, "echo", echo_);
    listen(scripts, "router", received_);
    view_ = WEBKIT_WEB_VIEW(
        g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", scripts, nullptr));
    g_object_unref(scripts);
    auto* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_container_add(GTK_CONTAINER(window), GTK_WIDGET(view_));
    gtk_widget_show_all(window);

    webView_ = std::make_shared<DesktopWebView>(queue_, view_);
    auto fake = rest_.pieces();
    JsonLineLoggerOptions nowhere;
    nowhere.file = "/dev/null";
    logger_ = JsonLineLogger::create(nowhere);
    const Platform platform{fake.engineClass,
                            *logger_,
                            fake.systemLog,
                            queue_,
                            fake.notifications,
                            fake.crossProcessNotifications,
                            fake.captureAuthorization,
                            fake.alerts,
                            fake.application,
                            fake.downloads,
                            fake.images,
                            fake.system,
                            fake.extensionLauncher,
                            fake.appGroup};
    router_ = VEMOKOBUMsgRouter::create(
        std::make_unique<JSMsgRouter>(
            *logger_, std::make_shared<MainThreadReplyDelivery>(queue_, "answer"), webView_),
        platform);
    router_->receive(R"({"head":{"module":"kobu","action":"initSDK"}})");
    received_ = [this](std::string_view text) { router_->receive(text); };
    echo_ = [this](std::string_view text) {
      webView_->loadJs("answer(" + std::string(text) + ")", false);
    };
  }

  void load() {
    webkit_web_view_load_html(view_, std::string(kPage).c_str(), nullptr);
    while (!loaded_) {
      loaded_ = !webkit_web_view_is_loading(view_);
      g_main_context_iteration(nullptr, TRUE);
    }
  }

  /// Microseconds of a call.
  double measure(const std::string& road, int atOnce) {
    const std::string script = "return await measure('" + road + "', " + std::to_string(kCalls) +
                               ", " + std::to_string(atOnce) + ")";
    double taken = -1;
    webkit_web_view_call_async_javascript_function(
        view_, script.c_str(), -1, nullptr, nullptr, nullptr, nullptr,
        [](GObject* view, GAsyncResult* result, gpointer out) {
          GError* error = nullptr;
          auto* value = webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(view),
                                                                              result, &error);
          if (!value) g_error("%s", error->message);
          *static_cast<double*>(out) = jsc_value_to_double(value);
          g_object_unref(value);
        },
        &taken);
    while (taken < 0) g_main_context_iteration(nullptr, TRUE);
    return taken;
  }

 private:
  using Take = std::function<void(std::string_view)>;

  static void listen(WebKitUserContentManager* scripts, const char* name, Take& take) {
    using Message = void (*)(WebKitUserContentManager*, WebKitJavascriptResult*, gpointer);
    const Message message = [](WebKitUserContentManager*, WebKitJavascriptResult* result,
                               gpointer data) {
      char* text = jsc_value_to_string(webkit_javascript_result_get_js_value(result));
      (*static_cast<Take*>(data))(text);
      g_free(text);
    };
    g_signal_connect(scripts, (std::string("script-message-received::") + name).c_str(),
                     G_CALLBACK(message), &take);
    webkit_user_content_manager_register_script_message_handler(scripts, name);
  }

  Take echo_, received_;
  WebKitWebView* view_ = nullptr;
  bool loaded_ = false;
  MainThreadQueue queue_{[this] {
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer queue) -> gboolean {
          static_cast<MainThreadQueue*>(queue)->drain();
          return G_SOURCE_REMOVE;
        },
        &queue_, nullptr);
  }};
  std::shared_ptr<DesktopWebView> webView_;
  FakePlatform rest_;
  std::unique_ptr<VEMOLogger> logger_;
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
};

}  // namespace
}  // namespace vemo

int main() {
  if (!gtk_init_check(nullptr, nullptr)) {
    std::fprintf(stderr, "vemo-measure-webview: there is no display\n");
    return 1;
  }
  vemo::View view;
  view.load();
  for (const int atOnce : {1, 100}) {
    double echo = 1e9;
    double router = 1e9;
    view.measure("router", atOnce);  // for the compilers of scripts
    for (int round = 0; round < vemo::kRounds; ++round) {
      echo = std::min(echo, view.measure("echo", atOnce));
      router = std::min(router, view.measure("router", atOnce));
    }
    std::printf("| %-3d at once | %.2f | router %.0f µs / echo %.0f µs |\n", atOnce, router / echo,
                router, echo);
  }
}
