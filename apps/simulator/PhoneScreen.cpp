#include "simulator/PhoneScreen.h"

#include "json/RecordMapper.h"
#include "simulator/Thumbnail.h"

namespace vemo {

std::shared_ptr<NativeView> PhoneScreen::renderViewOf(const Text& userId, ViewType viewType) {
  if (!userId || userId->empty()) return nullptr;
  return std::make_shared<PhoneView>(*userId, viewType);
}

boost::json::array PhoneScreen::pictures(const EngineSnapshot& phone) {
  boost::json::array pictures;
  std::map<std::shared_ptr<VEMOImage>, std::int64_t> shown;
  const auto add = [&](const auto& native, const Picture& picture, bool own) {
    const auto* view = dynamic_cast<const PhoneView*>(native.get());
    if (!view || picture.kind == PictureKind::none) return;
    const auto& image = picture.muteImage;
    const auto number = picture.kind == PictureKind::muteImage && image ? numberOf(image) : 0;
    if (number > 0) shown.emplace(image, number);
    pictures.push_back({{"userId", view->userId()},
                        {"viewType", static_cast<int>(view->type())},
                        {"own", own},
                        {"muteImage", number},
                        {"width", picture.width},
                        {"height", picture.height},
                        {"fps", picture.fps},
                        {"front", picture.front},
                        {"rotation", picture.rotation},
                        {"mirror", picture.mirror},
                        {"drawing", dictionaryFrom(picture.drawing)}});
  };
  add(phone.video.view, phone.ownPicture, true);
  for (const auto& remote : phone.remoteViews) add(remote.view, remote.picture, false);
  images_ = std::move(shown);
  return pictures;
}

// 0 for an image that is no thumbnail.
std::int64_t PhoneScreen::numberOf(const std::shared_ptr<VEMOImage>& image) {
  if (const auto known = images_.find(image); known != images_.end()) return known->second;
  const auto* thumbnail = dynamic_cast<const Thumbnail*>(image.get());
  if (!thumbnail) return 0;
  auto frame = thumbnail->frame();
  frame["id"] = ++lastImage_;
  newImages_.push_back(std::move(frame));
  images_.emplace(image, lastImage_);
  return lastImage_;
}

std::vector<boost::json::object> PhoneScreen::newImages() { return std::exchange(newImages_, {}); }

}  // namespace vemo
