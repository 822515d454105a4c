#pragma once

#include <memory>
#include <string>

#include "bridge/KOBUCloud.h"

namespace vemo {

/// Makes each call that there is to an engine whose user is in a room, and in the end leaves it.
/// `timed(name, call)` makes one.
template <class Timed>
void makeEveryCall(KOBUCloud& engine, const std::shared_ptr<NativeView>& view, Timed timed) {
  auto& music = engine.getAudioEffectManager();
  const std::string other = "bob";
  KOBUVideoEncParam encoding;
  encoding.width = 320;
  encoding.height = 180;
  KOBURenderParams drawing;
  PWAudioMusicParam piece;
  piece.ID = 1;
  piece.path = "/nowhere/music.mp3";

  timed("enterRoom", [&] { engine.enterRoom({}, 0); });  // a second time
  timed("switchRole", [&] { engine.switchRole(kKOBURoleAnchor); });
  timed("setDefaultStreamRecvMode", [&] { engine.setDefaultStreamRecvMode(true, true); });
  timed("setNetworkQosParam", [&] { engine.setNetworkQosParam({}); });

  timed("startLocalPreview", [&] { engine.startLocalPreview(true, view); });
  timed("muteLocalVideo", [&] { engine.muteLocalVideo(true); });
  timed("muteLocalVideo", [&] { engine.muteLocalVideo(false); });
  timed("setVideoMuteImage", [&] { engine.setVideoMuteImage(nullptr, 5); });
  timed("setLocalRenderParams", [&] { engine.setLocalRenderParams(drawing); });
  timed("setVideoEncoderParam", [&] { engine.setVideoEncoderParam(encoding); });
  timed("setVideoEncoderRotation", [&] { engine.setVideoEncoderRotation(1); });
  timed("setVideoEncoderMirror", [&] { engine.setVideoEncoderMirror(true); });
  timed("setGSensorMode", [&] { engine.setGSensorMode(1); });
  timed("enableEncSmallVideoStream", [&] { engine.enableEncSmallVideoStream(true, &encoding); });

  timed("startLocalAudio", [&] { engine.startLocalAudio(2); });
  timed("muteLocalAudio", [&] { engine.muteLocalAudio(true); });
  timed("muteLocalAudio", [&] { engine.muteLocalAudio(false); });
  timed("setAudioRoute", [&] { engine.setAudioRoute(0); });
  timed("setAudioCaptureVolume", [&] { engine.setAudioCaptureVolume(80); });
  timed("getAudioCaptureVolume", [&] { engine.getAudioCaptureVolume(); });
  timed("setAudioPlayoutVolume", [&] { engine.setAudioPlayoutVolume(80); });
  timed("getAudioPlayoutVolume", [&] { engine.getAudioPlayoutVolume(); });
  timed("enableAudioVolumeEvaluation", [&] { engine.enableAudioVolumeEvaluation(300); });

  timed("startRemoteView", [&] { engine.startRemoteView(other, kKOBUStreamTypeMain, view); });
  timed("setRemoteVideoStreamType",
        [&] { engine.setRemoteVideoStreamType(other, kKOBUStreamTypeMainSmall); });
  timed("setRemoteRenderParams",
        [&] { engine.setRemoteRenderParams(other, kKOBUStreamTypeMain, drawing); });
  timed("muteRemoteVideoStream", [&] { engine.muteRemoteVideoStream(other, true); });
  timed("muteAllRemoteVideoStreams", [&] { engine.muteAllRemoteVideoStreams(false); });
  timed("muteRemoteAudio", [&] { engine.muteRemoteAudio(other, true); });
  timed("muteAllRemoteAudio", [&] { engine.muteAllRemoteAudio(false); });
  timed("setRemoteAudioVolume", [&] { engine.setRemoteAudioVolume(other, 50); });
  timed("stopRemoteView", [&] { engine.stopRemoteView(other, kKOBUStreamTypeMain); });
  timed("stopAllRemoteView", [&] { engine.stopAllRemoteView(); });

  timed("startPlayMusic", [&] { music.startPlayMusic(piece, nullptr, nullptr, nullptr); });
  timed("pausePlayMusic", [&] { music.pausePlayMusic(1); });
  timed("resumePlayMusic", [&] { music.resumePlayMusic(1); });
  timed("seekMusicToPosInMS", [&] { music.seekMusicToPosInMS(1, 0); });
  timed("setAllMusicVolume", [&] { music.setAllMusicVolume(50); });
  timed("setMusicPlayoutVolume", [&] { music.setMusicPlayoutVolume(1, 50); });
  timed("setMusicPublishVolume", [&] { music.setMusicPublishVolume(1, 50); });
  timed("stopPlayMusic", [&] { music.stopPlayMusic(1); });

  timed("switchCamera", [&] { engine.getDeviceManager().switchCamera(false); });
  timed("startSpeedTest", [&] { engine.startSpeedTest(1, "alice", "", nullptr); });
  timed("stopSpeedTest", [&] { engine.stopSpeedTest(); });
  timed("callExperimentalAPI", [&] { engine.callExperimentalAPI("{}"); });
  timed("showDebugView", [&] { engine.showDebugView(1); });
  timed("setDebugViewMargin", [&] { engine.setDebugViewMargin(other, {}); });

  timed("startScreenCaptureInApp", [&] { engine.startScreenCaptureInApp(encoding); });
  timed("startScreenCaptureByReplaykit", [&] { engine.startScreenCaptureByReplaykit({}, ""); });
  timed("pauseScreenCapture", [&] { engine.pauseScreenCapture(); });
  timed("resumeScreenCapture", [&] { engine.resumeScreenCapture(); });
  timed("stopScreenCapture", [&] { engine.stopScreenCapture(); });

  timed("stopLocalAudio", [&] { engine.stopLocalAudio(); });
  timed("stopLocalPreview", [&] { engine.stopLocalPreview(); });
  timed("exitRoom", [&] { engine.exitRoom(); });
}

}  // namespace vemo
