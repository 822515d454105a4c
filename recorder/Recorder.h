#pragma once

#include <memory>
#include <string>

#include "bridge/Platform.h"
#include "bridge/VEMOJSMsgRouter.h"
#include "bridge/VEMOUIRenderSource.h"
#include "platform/ReplyDelivery.h"
#include "recorder/Journal.h"
#include "recorder/NoteRing.h"
#include "recorder/Notes.h"
#include "recorder/NotingEngine.h"
#include "recorder/NotingListener.h"
#include "recorder/NotingPlatform.h"
#include "recorder/NotingReplies.h"

namespace vemo {

/// Notes all that goes into one router and all that comes out, in the order in which it
/// happens: it stands between the router and its platform, and passes everything on. Not noted
/// is what the host calls on the router itself, but for messages.
///
///     Recorder recorder(platform, ring, nullptr);
///     auto base = std::make_unique<JSMsgRouter>(recorder.platform().logger,
///                                               recorder.replies(delivery), webView);
///     auto router = VEMOKOBUMsgRouter::create(recorder.baseRouter(std::move(base)),
///                                             recorder.platform());
///
/// What goes in is noted as steps of a scenario, what comes out as effects of a transcript
/// (docs/scenarios.md). It outlives the router as the pieces of the platform do; callbacks
/// that it gave away may outlive it. Threads: made on one; the pieces as those that they are
/// around.
class Recorder {
 public:
  /// The pieces of `platform` outlive this. Notes are kept in `ring` and told to `journal`, of
  /// which one may be null.
  Recorder(Platform platform, std::shared_ptr<NoteRing> ring, std::shared_ptr<Journal> journal);
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// What the router is given instead of the platform. Its owner is the same.
  Platform platform();

  /// What the base router is given to deliver replies by; `target`, null for nobody, then
  /// delivers them.
  std::shared_ptr<NotingReplies> replies(std::shared_ptr<ReplyDelivery> target);

  /// The base router that the router is given: `base`, which delivers by the latest of
  /// `replies`.
  std::unique_ptr<VEMOJSMsgRouter> baseRouter(std::unique_ptr<VEMOJSMsgRouter> base);

  /// The render source that the router is given, for `source`, which it holds; null for none.
  /// A router holds it weakly: the host keeps it.
  std::shared_ptr<VEMOUIRenderSource> renderSource(std::shared_ptr<VEMOUIRenderSource> source);

  const std::shared_ptr<Notes>& notes() const { return notes_; }

 private:
  const Platform target_;
  const std::shared_ptr<Notes> notes_;
  NotingKOBUCloudClass engineClass_{notes_, target_.engineClass};
  NotingLogger logger_{notes_, target_.logger};
  NotingSystemLog systemLog_{notes_, target_.systemLog};
  NotingMainQueue mainQueue_{notes_, target_.mainQueue};
  NotingNotificationCenter notifications_{notes_, target_.notifications};
  NotingCrossProcessCenter crossProcess_{notes_, target_.crossProcessNotifications};
  NotingAuthorization authorization_{notes_, target_.captureAuthorization};
  NotingAlerts alerts_{notes_, target_.alerts};
  NotingApplication application_{notes_, target_.application};
  NotingDownloads downloads_{notes_, target_.downloads};
  NotingDecoder images_{notes_, target_.images};
  NotingSystemVersion system_{notes_, target_.system};
  NotingLauncher launcher_{notes_, target_.extensionLauncher};
  std::shared_ptr<NotingReplies> replies_;
};

}  // namespace vemo
