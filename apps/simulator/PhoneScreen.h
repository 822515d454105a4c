#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bridge/VEMOUIRenderSource.h"
#include "simulation/EngineSnapshot.h"

namespace vemo {

/// A native view of a simulated phone; the page's frame draws it above the page, over
/// the element that names the same user and view type.
class PhoneView final : public NativeView {
 public:
  PhoneView(std::string userId, ViewType type) : userId_(std::move(userId)), type_(type) {}

  const std::string& userId() const { return userId_; }
  ViewType type() const { return type_; }

 private:
  const std::string userId_;
  const ViewType type_;
};

/// The host's views. Each is made when it is asked for, and lives as long as the engine
/// shows something in it, which bounds their number. Used on the main thread alone.
class PhoneScreen final : public VEMOUIRenderSource {
 public:
  /// Null for an absent or empty user id: nobody is in a room then.
  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override;

  /// What the views show in `engine`, for the page's frame to draw: those that show
  /// something, the own one first. A mute image goes by a number.
  boost::json::array pictures(const EngineSnapshot& engine);

  /// The mute images that pictures() has numbered since the last call, with "id" and the
  /// members of Thumbnail::frame.
  std::vector<boost::json::object> newImages();

 private:
  std::int64_t numberOf(const std::shared_ptr<VEMOImage>& image);

  // Held as long as they are shown, so that no other image takes the same address.
  std::map<std::shared_ptr<VEMOImage>, std::int64_t> images_;
  std::vector<boost::json::object> newImages_;
  std::int64_t lastImage_ = 0;
};

}  // namespace vemo
