#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "engine/Lines.h"
#include "engine/PeerConnection.h"
#include "engine/VideoEncoding.h"

namespace vemo::janus {

/// GStreamer's number for a picture turned and then mirrored so.
int orientationOf(int quarterTurns, bool mirror);

/// The connection over which a user sends: all lines are there from the start, and what is pushed
/// into one is encoded and sent. Engine thread, where not said otherwise.
class Publisher {
 public:
  struct Listener {
    std::function<void(unsigned line, const std::string& candidate)> onCandidate;
    std::function<void(const std::string& why)> onError;
    /// The first of what was pushed since the line was last stopped is on its way.
    std::function<void(Line line)> onFirstSent;
  };

  Publisher(EngineThread& thread, const PeerConnection::Settings& settings, Listener listener);
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  void offer(PeerConnection::Described done);
  /// From then on what is pushed is sent.
  void accept(const std::string& answer, PeerConnection::Done done);
  void addCandidate(unsigned line, const std::string& candidate);

  /// Any thread. Nothing is sent that comes sooner than the line's rate allows.
  void push(Line line, GstSample* sample);
  /// The next that is pushed counts as a first one.
  void stopped(Line line);
  void setVideo(Line line, const VideoEncoding& encoding);
  void setAudioBitrate(unsigned kbits);
  /// Loses so many of a hundred packets from now on, as a poor network would.
  void losePackets(unsigned percent) { losesPercent_ = percent; }

  std::uint32_t ssrcOf(Line line) const;
  std::uint64_t framesOf(Line line) const;
  void counts(std::function<void(std::vector<RtpCounts>)> done);

 private:
  struct Branch {
    GstRef<GstElement> bin;
    GstRef<GstElement> source;
    std::uint32_t ssrc = 0;
    std::atomic<bool> isFirst = true;
    std::atomic<std::uint64_t> frames = 0;
    std::mutex mutex;  // over the two below
    unsigned fps = 0;  // 0: as it comes
    std::chrono::steady_clock::time_point due;
    VideoEncoding encoding;
  };
  Branch& branch(Line line) { return branches_[static_cast<std::size_t>(line)]; }
  const Branch& branch(Line line) const { return branches_[static_cast<std::size_t>(line)]; }
  void build(Line line);

  EngineThread& thread_;
  const Listener listener_;
  const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  std::shared_ptr<PeerConnection> connection_;
  std::array<Branch, kLineCount> branches_;
  std::atomic<bool> isLive_ = false;
  std::atomic<unsigned> losesPercent_ = 0;
};

}  // namespace vemo::janus
