#include "engine/Capture.h"

#include <utility>

namespace vemo::janus {

struct Capture::State : std::enable_shared_from_this<State> {
  State(EngineThread& on, Sources from, std::string to, Listener tell)
      : thread(on), sources(std::move(from)), format(std::move(to)), listener(std::move(tell)) {}

  /// Of what is used or tried; empty when there is nothing more.
  std::string description() const {
    if (next < sources.devices.size()) return sources.devices[next];
    return next == sources.devices.size() ? sources.substitute : "";
  }
  void startNext();
  void failed(const std::string& why);
  void end() {
    if (const auto ending = std::move(pipeline)) endPipeline(ending.get());
    starting.reset();
  }

  EngineThread& thread;
  const Sources sources;
  const std::string format;
  const Listener listener;
  std::size_t next = 0;  // of the devices; behind them the substitute
  GstRef<GstElement> pipeline;
  EngineThread::Busy starting;  // until the first sample
  std::atomic<bool> started = false;
};

void Capture::State::startNext() {
  const auto source = description();
  if (source.empty()) {
    starting.reset();
    listener.onEnded();
    return;
  }
  std::string why;
  pipeline = parsePipeline(
      source + " ! " + format + " ! appsink name=out sync=false max-buffers=4 drop=true", why);
  if (!pipeline) return failed(why);

  using Weak = std::weak_ptr<State>;
  onSamples(elementOf(pipeline.get(), "out").get(), [weak = weak_from_this()](GstSample* sample) {
    const auto self = weak.lock();
    if (!self) return;
    self->listener.onSample(sample);
    if (self->started.exchange(true)) return;
    self->thread.post([weak] {
      const auto held = weak.lock();
      if (!held || !held->pipeline) return;
      held->starting.reset();
      held->listener.onStarted();
    });
  });
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
  gst_bus_add_watch_full(
      bus.get(), G_PRIORITY_DEFAULT,
      [](GstBus*, GstMessage* message, gpointer data) -> gboolean {
        const auto self = static_cast<Weak*>(data)->lock();
        if (!self) return G_SOURCE_REMOVE;
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
          self->failed(errorText(message));
          return G_SOURCE_REMOVE;
        }
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
          self->failed("the source ended");
          return G_SOURCE_REMOVE;
        }
        return G_SOURCE_CONTINUE;
      },
      new Weak(weak_from_this()), [](gpointer data) { delete static_cast<Weak*>(data); });
  // A failure to start comes as a message as well, which tells why.
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
}

void Capture::State::failed(const std::string& why) {
  const auto self = shared_from_this();
  if (const auto ending = std::move(pipeline)) gst_element_set_state(ending.get(), GST_STATE_NULL);
  started = false;
  listener.onTrouble(description(), why, next + 1 >= sources.devices.size());
  ++next;
  startNext();
}

Capture::Capture(EngineThread& thread, Sources sources, std::string format, Listener listener)
    : state_(std::make_shared<State>(thread, std::move(sources), std::move(format),
                                     std::move(listener))) {
  initialiseGStreamer();
  state_->starting = thread.busy();
  thread.post([weak = std::weak_ptr(state_)] {
    if (const auto state = weak.lock()) state->startNext();
  });
}

Capture::~Capture() { state_->end(); }

bool Capture::isRunning() const { return state_->started; }

std::string Capture::source() const { return state_->description(); }

}  // namespace vemo::janus
