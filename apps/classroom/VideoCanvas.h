#pragma once

#include <gtk/gtk.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/MainQueue.h"
#include "bridge/VEMOUIRenderSource.h"
#include "classroom/VideoSurface.h"

namespace vemo {

/// Where something lies in the page's window, in CSS pixels.
struct Box {
  double left = 0;
  double top = 0;
  double width = 0;
  double height = 0;
};

using Corners = std::array<double, 4>;

/// Where a page wants its native views.
struct Places {
  struct View {
    std::string name;  ///< "USER/TYPE"
    Box box;
    Corners radius{};         ///< from the upper left, clockwise
    std::optional<Box> clip;  ///< where it may be seen
  };
  struct Above {
    Box box;
    double radius = 0;
  };
  std::vector<View> views;
  std::vector<Above> above;  ///< what of the page lies above them
};

/// What the page's script tells; nothing when it can't be used.
std::optional<Places> placesFrom(std::string_view text);

/// The pictures of one page, drawn over it where the page has left places for them. What is pressed
/// there goes to the page. Main thread.
class VideoCanvas final : public VEMOUIRenderSource,
                          public std::enable_shared_from_this<VideoCanvas> {
 public:
  explicit VideoCanvas(MainQueue& mainQueue) : mainQueue_(mainQueue) {}
  ~VideoCanvas() override { end(); }
  VideoCanvas(const VideoCanvas&) = delete;
  VideoCanvas& operator=(const VideoCanvas&) = delete;

  /// Shows the pictures above the child of `overlay`, which lives longer.
  void showIn(GtkOverlay* overlay);
  /// Nothing is shown any more.
  void end();
  /// `zoom`: how many of the widget's pixels are one of the page's.
  void setPlaces(Places places, double zoom);

  /// Null for an absent or empty user id: nobody is in a room then.
  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override;

 private:
  void draw(cairo_t* to) const;
  void tellSizes();
  std::shared_ptr<VideoSurface> surfaceCalled(const std::string& name) const;

  MainQueue& mainQueue_;
  GtkWidget* widget_ = nullptr;
  Places places_;
  double zoom_ = 1;
  std::map<std::string, std::weak_ptr<VideoSurface>> surfaces_;
};

}  // namespace vemo
