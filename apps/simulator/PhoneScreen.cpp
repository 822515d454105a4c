#include "simulator/PhoneScreen.h"

#include <boost/json/object.hpp>

#include "json/RecordMapper.h"

namespace vemo {
namespace {

void addPicture(boost::json::array& pictures, const std::shared_ptr<NativeView>& native,
                const PictureSnapshot& picture, bool own) {
  const auto* view = dynamic_cast<const PhoneView*>(native.get());
  if (!view || picture.kind == PictureKind::none) return;
  pictures.push_back({{"userId", view->userId()},
                      {"viewType", static_cast<int>(view->type())},
                      {"own", own},
                      {"muteImage", picture.kind == PictureKind::muteImage},
                      {"width", picture.width},
                      {"height", picture.height},
                      {"fps", picture.fps},
                      {"front", picture.front},
                      {"rotation", picture.rotation},
                      {"mirror", picture.mirror},
                      {"drawing", dictionaryFrom(picture.drawing)}});
}

}  // namespace

std::shared_ptr<NativeView> PhoneScreen::renderViewOf(const Text& userId, ViewType viewType) {
  if (!userId || userId->empty()) return nullptr;
  auto& view = views_[{*userId, viewType}];
  if (!view) view = std::make_shared<PhoneView>(*userId, viewType);
  return view;
}

boost::json::array PhoneScreen::pictures(const PhoneSnapshot& phone) {
  boost::json::array pictures;
  addPicture(pictures, phone.video.view, phone.video.picture, true);
  for (const auto& remote : phone.remoteViews)
    addPicture(pictures, remote.view, remote.picture, false);
  return pictures;
}

}  // namespace vemo
