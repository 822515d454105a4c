#include "engine/Capture.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "engine/DeviceRetry.h"

namespace vemo::janus {
namespace {

// A device that takes longer waits for somebody who does not answer.
constexpr std::chrono::milliseconds kLongestEnding{500};

/// Has the sources of a pipeline settle their format once. Asked again, which happens whenever
/// something behind them is added, pipewiresrc would give up its stream and connect another, and
/// PipeWire's library mixes up both.
void keepFormats(GstElement* pipeline) {
  const std::unique_ptr<GstIterator, void (*)(GstIterator*)> sources(
      gst_bin_iterate_sources(GST_BIN(pipeline)), gst_iterator_free);
  gst_iterator_foreach(
      sources.get(),
      [](const GValue* item, gpointer) {
        const GstRef<GstPad> pad(
            gst_element_get_static_pad(GST_ELEMENT(g_value_get_object(item)), "src"));
        const GstRef<GstPad> behind(pad ? gst_pad_get_peer(pad.get()) : nullptr);
        if (!behind) return;
        // A source's own pad takes the wish before its probes are asked.
        gst_pad_add_probe(
            behind.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM,
            [](GstPad*, GstPadProbeInfo* info, gpointer) {
              return GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_RECONFIGURE
                         ? GST_PAD_PROBE_DROP
                         : GST_PAD_PROBE_OK;
            },
            nullptr, nullptr);
      },
      nullptr);
}

}  // namespace

/// What another thread does with a pipeline: it is started there, and ended behind that, so that
/// nobody waits for either.
struct Capture::Elsewhere {
  explicit Elsewhere(std::function<void()> wakes) : wake(std::move(wakes)) {}

  static void start(const std::shared_ptr<Elsewhere>& self, GstElement* pipeline);
  /// Something is under way until it has ended; if it is still being started, nobody shall wait for
  /// that.
  static void end(const std::shared_ptr<Elsewhere>& self, GstElement* pipeline,
                  EngineThread& thread);

  const std::function<void()> wake;
  std::mutex mutex;  // held by none who waits
  bool isStarting = false;
  bool isOver = false;
};

void Capture::Elsewhere::start(const std::shared_ptr<Elsewhere>& self, GstElement* pipeline) {
  using Held = HandedOver<std::shared_ptr<Elsewhere>>;
  gst_element_call_async(
      pipeline,
      [](GstElement* element, gpointer data) {
        const auto held = Held::in(data);
        {
          const std::lock_guard lock(held->mutex);
          if (held->isOver) return;
          held->isStarting = true;
        }
        gst_element_set_state(element, GST_STATE_PLAYING);
        {
          const std::lock_guard lock(held->mutex);
          held->isStarting = false;
          if (!held->isOver) return;
        }
        gst_element_set_state(element, GST_STATE_NULL);
      },
      new Held(self), Held::drop);
}

void Capture::Elsewhere::end(const std::shared_ptr<Elsewhere>& self, GstElement* pipeline,
                             EngineThread& thread) {
  struct Ending {
    std::shared_ptr<Elsewhere> self;
    EngineThread::Busy busy;
    EngineThread::Timer longest;
  };
  using Held = HandedOver<Ending>;
  {
    const std::lock_guard lock(self->mutex);
    self->isOver = true;
    if (self->isStarting) {  // who starts it ends it, too
      self->wake();
      return;
    }
  }
  gst_element_call_async(
      pipeline,
      [](GstElement* element, gpointer) { gst_element_set_state(element, GST_STATE_NULL); },
      new Held({self, thread.busy(), thread.after(kLongestEnding, [self] { self->wake(); })}),
      Held::drop);
}

/// One source, from its start to its end.
struct Capture::Run {
  std::size_t number = 0;  // of the devices; behind them the substitute
  GstRef<GstElement> pipeline;
  std::shared_ptr<Elsewhere> elsewhere;  // null: it is started and ended at once
  std::atomic<bool> isUsed = false;      // what it gives is for the listener
  std::atomic<std::uint64_t> samples = 0;
};

struct Capture::State : std::enable_shared_from_this<State> {
  State(EngineThread& on, Sources from, std::string to, Listener tell)
      : thread(on), sources(std::move(from)), format(std::move(to)), listener(std::move(tell)) {}

  /// Empty where there is nothing more.
  std::string description(std::size_t number) const {
    if (number < sources.devices.size()) return sources.devices[number];
    return number == sources.devices.size() ? sources.substitute : "";
  }
  void use(std::size_t number);
  void tryAgain(std::size_t number);
  void tryLater();
  void begin(const std::shared_ptr<Run>& run);
  void gave(const std::shared_ptr<Run>& run, std::uint64_t samples);
  void failed(const std::shared_ptr<Run>& run, const std::string& why);
  void end(const std::shared_ptr<Run>& run) const;
  void end() {
    retry.reset();
    end(std::exchange(trial, nullptr));
    end(std::exchange(used, nullptr));
    starting.reset();
  }

  EngineThread& thread;
  const Sources sources;
  const std::string format;
  const Listener listener;
  std::shared_ptr<Run> used;
  std::shared_ptr<Run> trial;   // of a device, while the substitute is used
  EngineThread::Busy starting;  // until the first sample
  bool isOut = false;           // no device could be used lately, which was told
  EngineThread::Timer retry;
  DeviceRetry pauses;
};

void Capture::State::use(std::size_t number) {
  if (description(number).empty()) {
    end();
    listener.onEnded();
    return;
  }
  const auto run = std::make_shared<Run>();
  run->number = number;
  run->isUsed = true;
  used = run;
  begin(run);
}

void Capture::State::tryAgain(std::size_t number) {
  const auto run = std::make_shared<Run>();
  run->number = number;
  trial = run;
  begin(run);
}

void Capture::State::tryLater() {
  retry = thread.after(pauses.nextPause(), [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->tryAgain(0);
  });
}

void Capture::State::begin(const std::shared_ptr<Run>& run) {
  std::string why;
  run->pipeline = parsePipeline(description(run->number) + " ! " + format +
                                    " ! appsink name=out sync=false max-buffers=4 drop=true",
                                why);
  if (!run->pipeline) return failed(run, why);
  keepFormats(run->pipeline.get());

  struct Both {
    std::weak_ptr<State> state;
    std::weak_ptr<Run> run;
  };
  const Both both{weak_from_this(), run};
  onSamples(elementOf(run->pipeline.get(), "out").get(), [both](GstSample* sample) {
    const auto self = both.state.lock();
    const auto from = both.run.lock();
    if (!self || !from) return;
    if (from->isUsed) self->listener.onSample(sample);
    const auto samples = ++from->samples;
    if (samples != 1 && samples != DeviceRetry::steady) return;
    self->thread.post([both, samples] {
      const auto held = both.state.lock();
      const auto giver = both.run.lock();
      if (held && giver) held->gave(giver, samples);
    });
  });
  const GstRef<GstBus> bus(gst_element_get_bus(run->pipeline.get()));
  gst_bus_add_watch_full(
      bus.get(), G_PRIORITY_DEFAULT,
      [](GstBus*, GstMessage* message, gpointer data) -> gboolean {
        const auto& told = *static_cast<Both*>(data);
        const auto self = told.state.lock();
        const auto from = told.run.lock();
        if (!self || !from) return G_SOURCE_REMOVE;
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
          self->failed(from, errorText(message));
          return G_SOURCE_REMOVE;
        }
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
          self->failed(from, "the source ended");
          return G_SOURCE_REMOVE;
        }
        return G_SOURCE_CONTINUE;
      },
      new Both(both), [](gpointer data) { delete static_cast<Both*>(data); });
  // A failure to start comes as a message as well, which tells why.
  if (sources.wake) {
    run->elsewhere = std::make_shared<Elsewhere>(sources.wake);
    Elsewhere::start(run->elsewhere, run->pipeline.get());
  } else {
    gst_element_set_state(run->pipeline.get(), GST_STATE_PLAYING);
  }
}

void Capture::State::end(const std::shared_ptr<Run>& run) const {
  if (!run) return;
  const auto ending = std::move(run->pipeline);
  if (!ending) return;
  if (run->elsewhere) {
    endWatch(ending.get());
    Elsewhere::end(run->elsewhere, ending.get(), thread);
  } else {
    endPipeline(ending.get());
  }
}

void Capture::State::gave(const std::shared_ptr<Run>& run, std::uint64_t samples) {
  if (run == trial) {
    end(std::exchange(used, std::exchange(trial, nullptr)));
    run->isUsed = true;
  }
  if (run != used) return;
  if (std::exchange(starting, nullptr)) listener.onStarted();
  if (run != used || samples != DeviceRetry::steady || !isOut ||
      run->number >= sources.devices.size())
    return;
  isOut = false;
  pauses.restart();
  if (listener.onBack) listener.onBack(description(run->number));
}

void Capture::State::failed(const std::shared_ptr<Run>& run, const std::string& why) {
  const auto self = shared_from_this();
  end(run);
  const auto next = run->number + 1;
  const bool isLast = next >= sources.devices.size();
  if (run == trial) {
    trial.reset();
    return isLast ? tryLater() : tryAgain(next);
  }
  if (run != used) return;
  if (!isOut) listener.onTrouble(description(run->number), why, isLast);
  if (run != used) return;  // ended by the listener
  if (isLast && sources.triesAgain && run->number < sources.devices.size()) {
    isOut = true;
    tryLater();
  }
  use(next);
}

Capture::Capture(EngineThread& thread, Sources sources, std::string format, Listener listener)
    : state_(std::make_shared<State>(thread, std::move(sources), std::move(format),
                                     std::move(listener))) {
  initialiseGStreamer();
  state_->starting = thread.busy();
  thread.post([weak = std::weak_ptr(state_)] {
    if (const auto state = weak.lock()) state->use(0);
  });
}

Capture::~Capture() { state_->end(); }

}  // namespace vemo::janus
