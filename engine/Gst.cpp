#include "engine/Gst.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <openssl/crypto.h>

namespace vemo::janus {

void keepOpenSslAtExit() { OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr); }

void initialiseGStreamer() {
  keepOpenSslAtExit();
  gst_init(nullptr, nullptr);
}

GstRef<GstElement> parsePipeline(const std::string& description, std::string& why) {
  GError* error = nullptr;
  GstRef<GstElement> made(
      gst_parse_launch_full(description.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error));
  if (made) gst_object_ref_sink(made.get());
  if (error) {
    why = error->message;
    g_error_free(error);
    made.reset();
  }
  return made;
}

GstRef<GstElement> elementOf(GstElement* pipeline, const char* name) {
  return GstRef<GstElement>(gst_bin_get_by_name(GST_BIN(pipeline), name));
}

CapsRef capsOf(const std::string& text) { return CapsRef(gst_caps_from_string(text.c_str())); }

std::string errorText(GstMessage* message) {
  GError* error = nullptr;
  gst_message_parse_error(message, &error, nullptr);
  std::string text = std::string(GST_OBJECT_NAME(GST_MESSAGE_SRC(message))) + ": " + error->message;
  g_error_free(error);
  return text;
}

void onSamples(GstElement* sink, std::function<void(GstSample*)> take) {
  using Take = HandedOver<std::function<void(GstSample*)>>;
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = [](GstAppSink* from, gpointer data) {
    const SampleRef sample(gst_app_sink_pull_sample(from));
    if (sample) Take::in(data)(sample.get());
    return GST_FLOW_OK;
  };
  gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, new Take(std::move(take)), Take::drop);
}

void pushUntimed(GstElement* source, GstSample* sample) {
  constexpr auto kAllButTimes = static_cast<GstBufferCopyFlags>(
      GST_BUFFER_COPY_FLAGS | GST_BUFFER_COPY_META | GST_BUFFER_COPY_MEMORY);
  GstBuffer* buffer = gst_buffer_copy_region(gst_sample_get_buffer(sample), kAllButTimes, 0,
                                             static_cast<gsize>(-1));
  const SampleRef untimed(gst_sample_new(buffer, gst_sample_get_caps(sample), nullptr, nullptr));
  gst_buffer_unref(buffer);
  gst_app_src_push_sample(GST_APP_SRC(source), untimed.get());
}

void endWatch(GstElement* pipeline) {
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline));
  gst_bus_remove_watch(bus.get());
}

void endPipeline(GstElement* pipeline) {
  endWatch(pipeline);
  gst_element_set_state(pipeline, GST_STATE_NULL);
}

}  // namespace vemo::janus
