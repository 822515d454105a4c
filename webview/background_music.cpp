#include <memory>

#include "webview/VEMOKOBUMsgRouter.h"

// Music beside the lesson.

namespace vemo {
namespace {

/// An open "playMusic": answered at the start, at each progress report and at
/// the end, as the page asked, each time with a fresh error record and value.
struct PlayingMusic {
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

  command.answerLater();
  const auto open = std::make_shared<const PlayingMusic>(
      PlayingMusic{std::string(command.paramsText), music->ID});
  static constexpr std::string_view routine = "-[VEMOKOBUMsgRouter playMusic:webView:]";

  const auto end = [&](bool wanted, const char* state, const ErrorWords& error,
                       Place place = Place::here()) {
    return answering(
        command, [open, wanted, state, &error, site = Site(routine, place)](
                     VEMOKOBUMsgRouter& router, const Answer& answer, std::int64_t code) {
          if (!wanted) return;
          const Text desc = code != 0 ? Text(error.text) : std::nullopt;
          router.logEnd("playMusic", open->paramsText, code, desc, site);
          answer.send(error.module, code, desc,
                      {{"audioId", open->musicId}, {"state", state}, {"errCode", code}});
        });
  };
  auto onStart = end(command.get<param::OnStart>(), "onStart", error::musicNotStarted);
  auto onComplete = end(command.get<param::OnComplete>(), "onComplete", error::musicBroken);
  auto onProgress = answering(command, [open, wanted = command.get<param::OnProgress>()](
                                           VEMOKOBUMsgRouter& router, const Answer& answer,
                                           std::int64_t progressMs, std::int64_t durationMs) {
    if (!wanted) return;
    router.logEnd("playMusic", open->paramsText, 0, std::nullopt, Site(routine, Place::here()));
    answer.send(VEMOModule::KOBU, 0, std::nullopt,
                {{"audioId", open->musicId},
                 {"state", "onProgress"},
                 {"progressMs", progressMs},
                 {"durationMs", durationMs}});
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
    if (!volume) return fail(error::noMusicGiven);
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
