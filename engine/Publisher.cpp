#include "engine/Publisher.h"

#include <algorithm>
#include <random>
#include <utility>

namespace vemo::janus {
namespace {

constexpr std::array kLines{Line::audio, Line::camera, Line::cameraSmall, Line::screen};

std::string rtpCaps(Line line, std::uint32_t ssrc) {
  const auto payload = std::to_string(96 + static_cast<unsigned>(line));
  const std::string codec =
      line == Line::audio
          ? "media=audio,encoding-name=OPUS,clock-rate=48000,encoding-params=(string)2"
          : "media=video,encoding-name=VP8,clock-rate=90000";
  return "application/x-rtp," + codec + ",payload=" + payload + ",ssrc=(uint)" +
         std::to_string(ssrc);
}

// VP8 is always in these colours; left to itself, what is large is now and then sent in others.
std::string pictureCaps(const VideoEncoding& encoding) {
  return "video/x-raw,width=" + std::to_string(encoding.width) +
         ",height=" + std::to_string(encoding.height) + ",pixel-aspect-ratio=1/1,colorimetry=bt601";
}

std::string branchText(Line line, std::uint32_t ssrc) {
  const std::string source =
      "appsrc name=source is-live=true do-timestamp=true format=time min-latency=0 max-bytes=0 "
      "leaky-type=downstream max-buffers=";
  const std::string end = " ! capsfilter caps=\"" + rtpCaps(line, ssrc) + "\"";
  const auto pay =
      " ssrc=" + std::to_string(ssrc) + " pt=" + std::to_string(96 + static_cast<unsigned>(line));
  if (line == Line::audio) {
    return source + "20 ! opusenc name=encoder bitrate=50000 inband-fec=true ! rtpopuspay" + pay +
           end;
  }
  return source +
         "3 ! videoconvert ! videoflip name=flip ! videoscale ! capsfilter name=size caps=\"" +
         pictureCaps({}) +
         "\" ! vp8enc name=encoder deadline=1 cpu-used=8 end-usage=cbr target-bitrate=500000 "
         "keyframe-max-dist=60 lag-in-frames=0 error-resilient=partitions ! "
         "rtpvp8pay picture-id-mode=15-bit" +
         pay + end;
}

bool loses(unsigned percent) { return g_random_int_range(0, 100) < static_cast<gint32>(percent); }

/// Takes away so many of a hundred of the packets that `info` is about; false when none is left.
bool isLeft(GstPadProbeInfo* info, unsigned percent) {
  if (GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) return !loses(percent);
  auto* packets = gst_buffer_list_make_writable(GST_PAD_PROBE_INFO_BUFFER_LIST(info));
  info->data = packets;
  gst_buffer_list_foreach(
      packets,
      [](GstBuffer** packet, guint, gpointer of) -> gboolean {
        if (loses(*static_cast<unsigned*>(of))) gst_clear_buffer(packet);
        return TRUE;
      },
      &percent);
  return gst_buffer_list_length(packets) > 0;
}

}  // namespace

int orientationOf(int quarterTurns, bool mirror) {
  // identity, right, half, left; the same and then mirrored: horizontal, upper left to lower
  // right, vertical, upper right to lower left.
  constexpr std::array<int, 4> kTurned{0, 1, 2, 3};
  constexpr std::array<int, 4> kMirrored{4, 6, 5, 7};
  const auto turns = static_cast<std::size_t>(((quarterTurns % 4) + 4) % 4);
  return mirror ? kMirrored[turns] : kTurned[turns];
}

Publisher::Publisher(EngineThread& thread, const PeerConnection::Settings& settings,
                     Listener listener)
    : thread_(thread), listener_(std::move(listener)) {
  connection_ = std::make_shared<PeerConnection>(
      thread, settings,
      PeerConnection::Listener{listener_.onCandidate, listener_.onError, nullptr});
  std::random_device random;
  for (const auto line : kLines) {
    branch(line).ssrc = std::max(random(), 1U);
    if (connection_->webrtc()) connection_->addSendLine(rtpCaps(line, branch(line).ssrc));
  }
  connection_->start();
}

Publisher::~Publisher() {
  *alive_ = false;
  isLive_ = false;
  connection_->close();
}

void Publisher::offer(PeerConnection::Described done) { connection_->offer(std::move(done)); }

void Publisher::accept(const std::string& answer, PeerConnection::Done done) {
  connection_->takeAnswer(answer, [this, done = std::move(done)](std::optional<std::string> error) {
    if (!error) {
      for (const auto line : kLines) build(line);
      isLive_ = true;
    }
    done(std::move(error));
  });
}

void Publisher::build(Line line) {
  auto& built = branch(line);
  GError* error = nullptr;
  auto* bin = gst_parse_bin_from_description(branchText(line, built.ssrc).c_str(), TRUE, &error);
  const auto pad = connection_->sendPad(static_cast<unsigned>(line));
  if (!bin || !pad) {
    if (error) {
      listener_.onError(error->message);
      g_error_free(error);
    }
    if (bin) gst_object_unref(gst_object_ref_sink(bin));
    return;
  }
  built.bin.reset(GST_ELEMENT(gst_object_ref(bin)));
  gst_bin_add(GST_BIN(connection_->pipeline()), bin);
  built.source = elementOf(bin, "source");
  if (line != Line::audio) setVideo(line, std::exchange(built.encoding, {0, 0, 0, 0, 0, false}));
  const GstRef<GstPad> out(gst_element_get_static_pad(bin, "src"));
  struct Sent {
    Publisher* self;
    Line line;
  };
  gst_pad_add_probe(
      out.get(),
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
      [](GstPad*, GstPadProbeInfo* info, gpointer data) {
        const auto& sent = HandedOver<Sent>::in(data);
        auto& self = *sent.self;
        if (const unsigned percent = self.losesPercent_; percent > 0 && !isLeft(info, percent)) {
          return GST_PAD_PROBE_DROP;
        }
        if (self.branch(sent.line).isFirst.exchange(false)) {
          self.thread_.post([&self, line = sent.line, alive = self.alive_] {
            if (*alive) self.listener_.onFirstSent(line);
          });
        }
        return GST_PAD_PROBE_OK;
      },
      new HandedOver<Sent>({this, line}), HandedOver<Sent>::drop);
  gst_pad_link(out.get(), pad.get());
  gst_element_sync_state_with_parent(bin);
}

void Publisher::addCandidate(unsigned line, const std::string& candidate) {
  connection_->addCandidate(line, candidate);
}

void Publisher::push(Line line, GstSample* sample) {
  if (!isLive_) return;
  auto& to = branch(line);
  if (!to.source) return;
  if (line != Line::audio) {
    const std::lock_guard lock(to.mutex);
    const auto now = std::chrono::steady_clock::now();
    constexpr std::chrono::milliseconds kEarly{4};  // no source keeps time exactly
    if (to.fps > 0) {
      if (now + kEarly < to.due) return;
      const auto period = std::chrono::microseconds(1'000'000 / to.fps);
      to.due = std::max(to.due + period, now);
    }
    ++to.frames;
  }
  pushUntimed(to.source.get(), sample);
}

void Publisher::stopped(Line line) { branch(line).isFirst = true; }

void Publisher::setVideo(Line line, const VideoEncoding& encoding) {
  auto& changed = branch(line);
  if (changed.encoding == encoding) return;
  changed.encoding = encoding;
  {
    const std::lock_guard lock(changed.mutex);
    changed.fps = encoding.fps;
  }
  if (!changed.bin) return;
  g_object_set(elementOf(changed.bin.get(), "size").get(), "caps",
               capsOf(pictureCaps(encoding)).get(), nullptr);
  g_object_set(elementOf(changed.bin.get(), "encoder").get(), "target-bitrate",
               static_cast<gint>(encoding.bitrate * 1000), nullptr);
  g_object_set(elementOf(changed.bin.get(), "flip").get(), "video-direction",
               orientationOf(encoding.rotation, encoding.mirror), nullptr);
}

void Publisher::setAudioBitrate(unsigned kbits) {
  auto& audio = branch(Line::audio);
  if (!audio.bin) return;
  g_object_set(elementOf(audio.bin.get(), "encoder").get(), "bitrate",
               static_cast<gint>(kbits * 1000), nullptr);
}

std::uint32_t Publisher::ssrcOf(Line line) const { return branch(line).ssrc; }
std::uint64_t Publisher::framesOf(Line line) const { return branch(line).frames; }

void Publisher::counts(std::function<void(std::vector<RtpCounts>)> done) {
  connection_->counts([alive = alive_, done = std::move(done)](std::vector<RtpCounts> counts) {
    if (*alive) done(std::move(counts));
  });
}

}  // namespace vemo::janus
