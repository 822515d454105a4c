#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>

namespace vemo::janus {

// GStreamer's and GLib's counted objects, let go of when their holder dies.
struct GstUnref {
  void operator()(gpointer object) const { gst_object_unref(object); }
};
struct SampleUnref {
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
struct CapsUnref {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
struct TextFree {
  void operator()(gchar* text) const { g_free(text); }
};
template <class T>
using GstRef = std::unique_ptr<T, GstUnref>;
using SampleRef = std::unique_ptr<GstSample, SampleUnref>;
using CapsRef = std::unique_ptr<GstCaps, CapsUnref>;
using GText = std::unique_ptr<gchar, TextFree>;

/// Makes GStreamer ready; any thread, any number of times.
void initialiseGStreamer();

/// A pipeline of this description; null, with `why` set, when there is none.
GstRef<GstElement> parsePipeline(const std::string& description, std::string& why);
/// An element in it.
GstRef<GstElement> elementOf(GstElement* pipeline, const char* name);
CapsRef capsOf(const std::string& text);
/// What an error message on a bus says.
std::string errorText(GstMessage* message);
/// Gives a sample of another pipeline to an appsrc, without its time, which means nothing here. Any
/// thread.
void pushUntimed(GstElement* source, GstSample* sample);
/// Ends a pipeline and its bus watch. Not on a thread of the pipeline's own.
void endPipeline(GstElement* pipeline);

}  // namespace vemo::janus
