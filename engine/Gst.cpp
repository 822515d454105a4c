#include "engine/Gst.h"

#include <gst/app/gstappsrc.h>

namespace vemo::janus {

void initialiseGStreamer() { gst_init(nullptr, nullptr); }

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

void pushUntimed(GstElement* source, GstSample* sample) {
  GstBuffer* buffer = gst_buffer_copy(gst_sample_get_buffer(sample));
  GST_BUFFER_PTS(buffer) = GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  const SampleRef untimed(gst_sample_new(buffer, gst_sample_get_caps(sample), nullptr, nullptr));
  gst_buffer_unref(buffer);
  gst_app_src_push_sample(GST_APP_SRC(source), untimed.get());
}

void endPipeline(GstElement* pipeline) {
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline));
  gst_bus_remove_watch(bus.get());
  gst_element_set_state(pipeline, GST_STATE_NULL);
}

}  // namespace vemo::janus
