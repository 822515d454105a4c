#include <memory>

#include "webview/VEMOKOBUMsgRouter.h"

// Music beside the lesson.

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

Outcome VEMOKOBUMsgRouter::playMusic(
    KOBUCloud& engine,
    const Command<param::AudioId, Checked<param::Music>, Or<param::OnStart, false>,
                  Or<param::OnProgress, false>, Or<param::OnComplete, false>>& command) {
  auto music = command.get<param::Music>();
  if (!music) return paramError(param::Music::missing);
  music->ID = command.get<param::AudioId>();

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
  auto onStart = end(command.get<param::OnStart>(), "onStart", "play onStart error");
  auto onComplete = end(command.get<param::OnComplete>(), "onComplete", "play onComplete error");
  auto onProgress =
      weakly([open, wanted = command.get<param::OnProgress>()](
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

Outcome VEMOKOBUMsgRouter::setMusicInfo(
    KOBUCloud& engine,
    const Command<Maybe<param::AudioId>, Maybe<param::MusicPosition>, Maybe<param::MusicVolume>,
                  Maybe<param::MusicPlayoutVolume>, Maybe<param::MusicPublishVolume>>& command) {
  const auto id = command.get<param::AudioId>();
  const auto volume = command.get<param::MusicVolume>();
  auto& music = engine.getAudioEffectManager();
  if (!id) {
    if (!volume) return paramError("no audioId param");
    music.setAllMusicVolume(*volume);
    return success;
  }
  if (const auto position = command.get<param::MusicPosition>()) {
    music.seekMusicToPosInMS(*id, *position);
  }
  if (volume) music.setAllMusicVolume(*volume);  // of all music, not of this one only
  if (const auto playout = command.get<param::MusicPlayoutVolume>()) {
    music.setMusicPlayoutVolume(*id, *playout);
  }
  if (const auto publish = command.get<param::MusicPublishVolume>()) {
    music.setMusicPublishVolume(*id, *publish);
  }
  return success;
}

}  // namespace vemo
