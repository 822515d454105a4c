#include <memory>

#include "json/RecordMapper.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

/// The open item of a "playMusic": answered at the start, at each progress report and at
/// the end, as the page asked, each time with a fresh error record and value.
struct PlayMusicAnswer {
  std::shared_ptr<VEMOJSMsgItem> item;
  std::shared_ptr<VEMOWebView> webView;
  std::string paramsText;
  std::int32_t musicId;
};

}  // namespace

Outcome VEMOKOBUMsgRouter::playMusic(KOBUCloud& engine, const Command& command) {
  const auto audioId = command.number("audioId");
  if (!audioId) return paramError("audioId param error");
  auto music = recordFrom<PWAudioMusicParam>(command.params());
  if (!music || !music->path || music->path->empty()) return paramError("path param error");
  music->ID = audioId->int32();

  command.item->setIsAsyncTask(true);
  const auto open = std::make_shared<const PlayMusicAnswer>(
      PlayMusicAnswer{command.item, command.webView, std::string(command.paramsText), music->ID});
  static constexpr std::string_view routine = "-[VEMOKOBUMsgRouter playMusic:webView:]";

  const auto end = [&](bool wanted, const char* state, const char* error,
                       Place place = Place::here()) {
    return weakly([open, wanted, state, error, site = Site(routine, place)](
                      VEMOKOBUMsgRouter& router, std::int64_t code) {
      if (!wanted) return;
      const Text desc = code != 0 ? Text(error) : std::nullopt;
      setError(*open->item, VEMOModule::KOBU, code, desc);
      router.logEnd("playMusic", open->paramsText, code, desc, site);
      open->item->setMsgRetval({{"audioId", open->musicId}, {"state", state}, {"errCode", code}});
      open->item->executeJSCallbackIn(open->webView);
    });
  };
  auto onStart = end(command.flag("onStart"), "onStart", "play onStart error");
  auto onComplete = end(command.flag("onComplete"), "onComplete", "play onComplete error");
  auto onProgress =
      weakly([open, wanted = command.flag("onProgress")](
                 VEMOKOBUMsgRouter& router, std::int64_t progressMs, std::int64_t durationMs) {
        if (!wanted) return;
        setError(*open->item, VEMOModule::KOBU, 0, std::nullopt);
        router.logEnd("playMusic", open->paramsText, 0, std::nullopt, Site(routine, Place::here()));
        open->item->setMsgRetval({{"audioId", open->musicId},
                                  {"state", "onProgress"},
                                  {"progressMs", progressMs},
                                  {"durationMs", durationMs}});
        open->item->executeJSCallbackIn(open->webView);
      });
  engine.getAudioEffectManager().startPlayMusic(*music, std::move(onStart), std::move(onProgress),
                                                std::move(onComplete));
  return success;
}

Outcome VEMOKOBUMsgRouter::setMusicInfo(KOBUCloud& engine, const Command& command) {
  const auto audioId = command.number("audioId");
  const auto volume = command.number("volume");
  auto& music = engine.getAudioEffectManager();
  if (!audioId) {
    if (!volume) return paramError("no audioId param");
    music.setAllMusicVolume(volume->int32());
    return success;
  }
  const auto id = audioId->int32();
  if (const auto position = command.number("position")) {
    music.seekMusicToPosInMS(id, position->int32());
  }
  if (volume) music.setAllMusicVolume(volume->int32());  // of all music, not of this one only
  if (const auto playout = command.number("playoutVolume")) {
    music.setMusicPlayoutVolume(id, playout->int32());
  }
  if (const auto publish = command.number("publishVolume")) {
    music.setMusicPublishVolume(id, publish->int32());
  }
  return success;
}

Outcome VEMOKOBUMsgRouter::stopMusic(KOBUCloud& engine, const Command& command) {
  const auto audioId = command.number("audioId");
  if (!audioId) return paramError("no audioId param");
  engine.getAudioEffectManager().stopPlayMusic(audioId->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::pauseMusic(KOBUCloud& engine, const Command& command) {
  const auto audioId = command.number("audioId");
  if (!audioId) return paramError("no audioId param");
  engine.getAudioEffectManager().pausePlayMusic(audioId->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::resumeMusic(KOBUCloud& engine, const Command& command) {
  const auto audioId = command.number("audioId");
  if (!audioId) return paramError("no audioId param");
  engine.getAudioEffectManager().resumePlayMusic(audioId->int32());
  return success;
}

}  // namespace vemo
