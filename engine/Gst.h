#pragma once

#include <gst/gst.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

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

/// What callbacks on GStreamer's threads are given. It is handed over under a lock of ours:
/// GStreamer has its own, but what reads this program's memory accesses sees only this program's
/// locks.
template <class T>
class HandedOver {
 public:
  explicit HandedOver(T value) : value_(std::move(value)) { const std::lock_guard made(mutex_); }
  ~HandedOver() { const std::lock_guard ended(mutex_); }
  HandedOver(const HandedOver&) = delete;
  HandedOver& operator=(const HandedOver&) = delete;

  /// What a callback with this as its data was given.
  static T& in(gpointer data) {
    auto& self = *static_cast<HandedOver*>(data);
    const std::lock_guard taken(self.mutex_);
    return self.value_;
  }
  /// The same, taken out; nothing may use this data any longer.
  static T take(gpointer data) {
    const std::unique_ptr<HandedOver> self(static_cast<HandedOver*>(data));
    const std::lock_guard taken(self->mutex_);
    return std::move(self->value_);
  }
  static void drop(gpointer data) { delete static_cast<HandedOver*>(data); }

 private:
  T value_;
  std::mutex mutex_;
};

/// Has OpenSSL, which secures media, keep what it holds for threads when the process exits: those
/// of GStreamer may still be ending then, and would find it taken away. Without effect once
/// anything in the process has used OpenSSL. Any thread, any number of times, at once.
void keepOpenSslAtExit();

/// Makes GStreamer ready, after keepOpenSslAtExit(); any thread, any number of times.
void initialiseGStreamer();

/// A pipeline of this description; null, with `why` set, when there is none.
GstRef<GstElement> parsePipeline(const std::string& description, std::string& why);
/// An element in it.
GstRef<GstElement> elementOf(GstElement* pipeline, const char* name);
CapsRef capsOf(const std::string& text);
/// What an error message on a bus says.
std::string errorText(GstMessage* message);
/// Has `take` called with each sample that comes to an appsink, on a streaming thread.
void onSamples(GstElement* sink, std::function<void(GstSample* sample)> take);
/// Gives a sample of another pipeline to an appsrc, without its time, which means nothing here. Any
/// thread.
void pushUntimed(GstElement* source, GstSample* sample);
/// Ends a pipeline's bus watch.
void endWatch(GstElement* pipeline);
/// Ends a pipeline and its bus watch. Not on a thread of the pipeline's own.
void endPipeline(GstElement* pipeline);

}  // namespace vemo::janus
