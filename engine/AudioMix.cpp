#include "engine/AudioMix.h"

#include <gst/app/gstappsrc.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <utility>

namespace vemo::janus {
namespace {

constexpr double kFullVolume = 100.0;
constexpr double kQuietest = -60.0;  // dB of full scale; below it nothing is heard
constexpr std::chrono::milliseconds kBetweenCounts{500};

}  // namespace

int loudnessOf(GstSample* sample) {
  GstMapInfo map{};
  GstBuffer* buffer = gst_sample_get_buffer(sample);
  if (!buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ)) return 0;
  const auto* values = reinterpret_cast<const std::int16_t*>(map.data);
  const std::size_t count = map.size / sizeof(std::int16_t);
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += static_cast<double>(values[i]) * values[i];
  gst_buffer_unmap(buffer, &map);
  if (count == 0 || sum == 0) return 0;
  constexpr double kFullScale = 32768.0;
  const double level = 20 * std::log10(std::sqrt(sum / static_cast<double>(count)) / kFullScale);
  return std::clamp(static_cast<int>(kFullVolume * (1 - level / kQuietest)), 0, 100);
}

AudioMix::AudioMix(EngineThread& thread, const std::string& sink,
                   std::function<void(GstSample*)> onSample, Listener listener)
    : thread_(thread),
      wanted_(onSample ? "appsink name=out sync=false max-buffers=20 drop=true" : sink),
      onSample_(std::move(onSample)),
      listener_(std::move(listener)) {
  initialiseGStreamer();
  const std::string sound = kSound;
  std::string why;
  pipeline_ = parsePipeline("audiotestsrc wave=silence is-live=true samplesperbuffer=480 ! " +
                                sound + " ! audiomixer name=mix latency=40000000 ! " + sound +
                                " ! volume name=volume ! audioconvert ! audioresample name=last",
                            why);
  mixer_ = elementOf(pipeline_.get(), "mix");
  volume_ = elementOf(pipeline_.get(), "volume");
  last_ = elementOf(pipeline_.get(), "last");
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
  gst_bus_add_watch(
      bus.get(),
      [](GstBus*, GstMessage* message, gpointer self) -> gboolean {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
          static_cast<AudioMix*>(self)->failed(errorText(message));
        }
        return G_SOURCE_CONTINUE;
      },
      this);
  const GstRef<GstPad> out(gst_element_get_static_pad(last_.get(), "src"));
  using Count = HandedOver<std::atomic<std::uint64_t>*>;
  gst_pad_add_probe(
      out.get(), GST_PAD_PROBE_TYPE_BUFFER,
      [](GstPad*, GstPadProbeInfo*, gpointer played) {
        ++*Count::in(played);
        return GST_PAD_PROBE_OK;
      },
      new Count(&played_), Count::drop);
  if (!playTo(wanted_, why)) failed(why);
}

bool AudioMix::playTo(const std::string& sink, std::string& why) {
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  // What else the former sink had to complain about.
  gst_bus_set_flushing(bus.get(), TRUE);
  gst_bus_set_flushing(bus.get(), FALSE);
  if (sink_) gst_bin_remove(GST_BIN(pipeline_.get()), sink_.get());
  sink_.reset();
  played_ = 0;
  GError* error = nullptr;
  auto* made = gst_parse_bin_from_description_full(sink.c_str(), TRUE, nullptr,
                                                   GST_PARSE_FLAG_FATAL_ERRORS, &error);
  if (error) {
    why = error->message;
    g_error_free(error);
    return false;
  }
  sink_.reset(GST_ELEMENT(gst_object_ref(made)));
  gst_bin_add(GST_BIN(pipeline_.get()), made);
  gst_element_link(last_.get(), sink_.get());
  if (onSample_) onSamples(elementOf(sink_.get(), "out").get(), onSample_);
  if (gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE) {
    return true;
  }
  const std::unique_ptr<GstMessage, decltype(&gst_message_unref)> message(
      gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR), gst_message_unref);
  why = message ? errorText(message.get()) : "it can't be opened";
  return false;
}

void AudioMix::failed(const std::string& why) {
  steady_.reset();
  if (!std::exchange(isOut_, true)) listener_.onTrouble(why);
  std::string ignored;
  playTo("fakesink sync=true", ignored);
  retry_ = thread_.after(pauses_.nextPause(), [this] { tryAgain(); });
}

void AudioMix::tryAgain() {
  std::string why;
  if (!playTo(wanted_, why)) return failed(why);
  steady_ = thread_.every(kBetweenCounts, [this] {
    if (played_ < DeviceRetry::steady) return;
    isOut_ = false;
    pauses_.restart();
    listener_.onBack();
    steady_.reset();
  });
}

AudioMix::~AudioMix() {
  if (pipeline_) endPipeline(pipeline_.get());
}

void AudioMix::setVolume(int volume) {
  g_object_set(volume_.get(), "volume", volume / kFullVolume, nullptr);
}

AudioMix::Input::Input(AudioMix& mix) : mix_(mix) {
  const auto make = [this](const char* kind) {
    auto* element = gst_element_factory_make(kind, nullptr);
    gst_object_ref(element);
    gst_bin_add(GST_BIN(mix_.pipeline_.get()), element);
    return GstRef<GstElement>(element);
  };
  source_ = make("appsrc");
  volume_ = make("volume");
  // Idle, it must not make the mix wait for it: hence no latency of its own.
  g_object_set(source_.get(), "is-live", TRUE, "do-timestamp", TRUE, "format", GST_FORMAT_TIME,
               "min-latency", gint64{0}, "max-buffers", guint64{20}, "max-bytes", guint64{0},
               "leaky-type", GST_APP_LEAKY_TYPE_DOWNSTREAM, nullptr);
  pad_.reset(gst_element_request_pad_simple(mix_.mixer_.get(), "sink_%u"));
  gst_element_link(source_.get(), volume_.get());
  const GstRef<GstPad> out(gst_element_get_static_pad(volume_.get(), "src"));
  gst_pad_link(out.get(), pad_.get());
  gst_element_sync_state_with_parent(volume_.get());
  gst_element_sync_state_with_parent(source_.get());
}

AudioMix::Input::~Input() {
  // What waits for the mixer must not keep the source from ending.
  gst_pad_send_event(pad_.get(), gst_event_new_flush_start());
  gst_element_set_locked_state(source_.get(), TRUE);
  gst_element_set_locked_state(volume_.get(), TRUE);
  gst_element_set_state(source_.get(), GST_STATE_NULL);
  gst_element_set_state(volume_.get(), GST_STATE_NULL);
  gst_element_release_request_pad(mix_.mixer_.get(), pad_.get());
  gst_bin_remove_many(GST_BIN(mix_.pipeline_.get()), source_.get(), volume_.get(), nullptr);
}

void AudioMix::Input::push(GstSample* sample) { pushUntimed(source_.get(), sample); }

void AudioMix::Input::setVolume(int volume) {
  g_object_set(volume_.get(), "volume", volume / kFullVolume, nullptr);
}

}  // namespace vemo::janus
