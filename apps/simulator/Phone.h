#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "bridge/DownloadService.h"
#include "bridge/ImageDecoder.h"
#include "bridge/MainQueue.h"
#include "bridge/VEMOLogger.h"
#include "simulation/ClassroomCloud.h"
#include "simulator/PageSocket.h"
#include "simulator/SessionFiles.h"

namespace vemo {

class VEMOKOBUMsgRouter;

/// What all phones of a simulator share; outlives them.
struct PhoneEnvironment {
  ClassroomCloud& cloud;
  /// Makes the logger of one phone, which takes its records and its notes. Main thread.
  std::function<std::unique_ptr<VEMOLogger>()> makeLogger;
  SystemLog& systemLog;
  MainQueue& mainQueue;
  /// Each phone gets its own, so that what one asks for keeps no other waiting.
  std::function<std::unique_ptr<DownloadService>()> makeDownloads;
  std::function<std::unique_ptr<ImageDecoder>()> makeImages;
  /// Writes the whole session of one phone; null, or what gives null, for nothing.
  StreamSession streamSession = nullptr;
};

/// One connected page as a phone of its own: its router, its web view, its engine in the
/// shared cloud. When the page is gone the phone drops its router, which leaves the room.
///
/// Frames from the page are JSON objects with a "kind": "message" (text: a page
/// message), "network" (drop: whether the connection is cut, or delay, upLoss, downLoss),
/// "settings" (settings: changes), "answer" (media, granted), "press" (alert, button),
/// "broadcast" (event: "started", "paused", "resumed" or "finished"), "fire" (event, args: an event
/// of the engine, to be told "times" times, once without it), "downloads" (error: the code and text
/// with which they fail, null: they don't), "pictures" (asks what the views show), "note" (on:
/// whether what goes into the router and comes out is to be told), "record" (on: whether the
/// recording is to be told as it goes on) and "save" (asks for the recording of the last minutes).
/// To the page: "script" (text, needLog), "settings", "prompt", "alert", "openSettings",
/// "broadcastPicker", "pictures", "image" (id, width, height, rgba: a mute image that pictures
/// name), "noted" (see LiveNotes), "recorded" (see LiveRecording), "saved" (text: a .vemorec file)
/// and "problem" (text: why a frame could not be used; frame: its kind).
class Phone final : public PageListener {
 public:
  Phone(const PhoneEnvironment& environment, std::shared_ptr<PageSocket> page);
  ~Phone() override;

  void onText(std::string_view text) override;
  void onTrouble(std::string_view what) override;

 private:
  struct Parts;

  std::string handle(const boost::json::object& frame);
  void sendPictures();
  void sendRecording();
  std::string handleRecord(const boost::json::object& frame);
  std::string handleNetwork(const boost::json::object& frame);
  std::string handleBroadcast(const boost::json::object& frame);
  std::string handleFire(const boost::json::object& frame);
  std::string handleDownloads(const boost::json::object& frame);

  const std::shared_ptr<Parts> parts_;  // kept by the router too, which may live on a little
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
};

}  // namespace vemo
