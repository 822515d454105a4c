#include <memory>
#include <string>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/Conference.h"
#include "engine/Outgoing.h"
#include "engine/RemoteStream.h"

namespace vemo::janus {
namespace {

/// Of a local or remote entry of the statistics.
template <class Entry>
std::string streamText(const Entry& entry) {
  return std::to_string(entry.width) + "x" + std::to_string(entry.height) + ", " +
         std::to_string(entry.frameRate) + " pictures/s\npictures " +
         std::to_string(entry.videoBitrate) + " kbit/s\nsound " +
         std::to_string(entry.audioBitrate) + " kbit/s\n";
}

}  // namespace

void Conference::showPanels(bool on) {
  panels_ = on;
  if (!on) setPanels({});
}

void Conference::setPanelMargin(const std::string& user, const EdgeInsets& margin) {
  if (auto* wish = wishOf(user)) wish->panelMargin = margin;
}

void Conference::setPanels(const Panels& panels) {
  const auto panelOf = [&panels](const std::string& user, Line line) {
    const auto found = panels.find({user, line});
    return found == panels.end() ? nullptr : found->second;
  };
  outgoing_->preview.setPanel(panelOf(userId_, Line::camera));
  for (const auto& [user, remote] : remotes_) {
    for (const auto& [line, stream] : remote.streams) {
      if (stream) stream->stage.setPanel(panelOf(user, line));
    }
  }
}

void Conference::tellPanels(const KOBUStatistics& statistics) {
  if (!panels_) return;
  Panels panels;
  const auto add = [&](const std::string& user, std::int32_t streamType, std::string text) {
    const auto wish = wishes_.find(user);
    const auto line = streamType == kKOBUStreamTypeSub ? Line::screen : Line::camera;
    panels[{user, line}] = std::make_shared<const DebugPanel>(DebugPanel{
        std::move(text), wish == wishes_.end() ? EdgeInsets{} : wish->second.panelMargin});
  };
  for (const auto& local : statistics.localStatistics) {
    if (local.streamType != kKOBUStreamTypeMain) continue;  // no view shows what else is sent
    add(userId_, local.streamType,
        streamText(local) + "lost on the way up " + std::to_string(statistics.upLoss) +
            " %\nround trip " + std::to_string(statistics.rtt) + " ms");
  }
  for (const auto& remote : statistics.remoteStatistics) {
    add(*remote.userId, remote.streamType,
        streamText(remote) + "lost " + std::to_string(remote.packetLoss) + " %");
  }
  setPanels(panels);
}

}  // namespace vemo::janus
