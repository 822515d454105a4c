#include "classroom/VideoCanvas.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <utility>

#include "json/Lookup.h"

namespace vemo {
namespace {

constexpr std::size_t kMostPlaces = 256;

std::optional<Box> boxFrom(const boost::json::value* value) {
  const auto* numbers = value ? value->if_array() : nullptr;
  std::array<double, 4> sides{};
  if (!numbers || numbers->size() != sides.size()) return std::nullopt;
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const auto& number = (*numbers)[i];
    if (!number.is_number()) return std::nullopt;
    sides[i] = number.to_number<double>();
  }
  return Box{sides[0], sides[1], sides[2], sides[3]};
}

double numberOr0(const boost::json::value* value) {
  return value && value->is_number() ? value->to_number<double>() : 0;
}

/// One to four lengths, as CSS writes them for corners.
Corners cornersFrom(const std::string& text) {
  Corners corners{};
  const char* at = text.c_str();
  std::size_t count = 0;
  while (count < corners.size()) {
    char* end = nullptr;
    const double length = std::strtod(at, &end);
    if (end == at) break;
    corners[count++] = length;
    at = end;
    while (*at && *at != ' ') ++at;  // the unit
  }
  if (count < 2) corners[1] = corners[0];
  if (count < 3) corners[2] = corners[0];
  if (count < 4) corners[3] = corners[1];
  return corners;
}

void addBox(cairo_t* to, const Box& box, Corners corners) {
  for (auto& radius : corners) {
    radius = std::clamp(radius, 0.0, std::max(0.0, std::min(box.width, box.height) / 2));
  }
  const auto [upperLeft, upperRight, lowerRight, lowerLeft] = corners;
  constexpr double kQuarter = std::numbers::pi / 2;
  const double right = box.left + box.width;
  const double bottom = box.top + box.height;
  cairo_new_sub_path(to);
  cairo_arc(to, right - upperRight, box.top + upperRight, upperRight, -kQuarter, 0);
  cairo_arc(to, right - lowerRight, bottom - lowerRight, lowerRight, 0, kQuarter);
  cairo_arc(to, box.left + lowerLeft, bottom - lowerLeft, lowerLeft, kQuarter, 2 * kQuarter);
  cairo_arc(to, box.left + upperLeft, box.top + upperLeft, upperLeft, 2 * kQuarter, 3 * kQuarter);
  cairo_close_path(to);
}

}  // namespace

std::optional<Places> placesFrom(std::string_view text) {
  boost::json::error_code bad;
  const auto value = boost::json::parse({text.data(), text.size()}, bad);
  const auto* told = bad ? nullptr : value.if_object();
  const auto* views = vemo_safeNSArrayForKey(told, "views");
  const auto* above = vemo_safeNSArrayForKey(told, "above");
  if (!views || !above || views->size() > kMostPlaces || above->size() > kMostPlaces) {
    return std::nullopt;
  }
  Places places;
  for (const auto& entry : *views) {
    const auto* view = entry.if_object();
    const auto name = vemo_safeNSStringForKey(view, "name");
    const auto box = view ? boxFrom(view->if_contains("box")) : std::nullopt;
    if (!name || !box) return std::nullopt;
    const std::string radius(vemo_safeNSStringForKey(view, "radius").value_or(""));
    places.views.push_back(
        {std::string(*name), *box, cornersFrom(radius), boxFrom(view->if_contains("clip"))});
  }
  for (const auto& entry : *above) {
    const auto* covering = entry.if_object();
    const auto box = covering ? boxFrom(covering->if_contains("box")) : std::nullopt;
    if (!box) return std::nullopt;
    places.above.push_back({*box, numberOr0(covering->if_contains("radius"))});
  }
  return places;
}

void VideoCanvas::end() {
  if (widget_) gtk_widget_destroy(widget_);
}

void VideoCanvas::showIn(GtkOverlay* overlay) {
  widget_ = gtk_drawing_area_new();
  // Without a window of its own it takes no clicks, nor does the overlay's part for it.
  gtk_widget_set_has_window(widget_, FALSE);
  using Draw = gboolean (*)(GtkWidget*, cairo_t*, gpointer);
  const Draw paint = [](GtkWidget*, cairo_t* to, gpointer self) -> gboolean {
    static_cast<const VideoCanvas*>(self)->draw(to);
    return FALSE;
  };
  g_signal_connect(widget_, "draw", G_CALLBACK(paint), this);
  g_signal_connect(widget_, "destroy", G_CALLBACK(gtk_widget_destroyed), &widget_);
  gtk_overlay_add_overlay(overlay, widget_);
  gtk_overlay_set_overlay_pass_through(overlay, widget_, TRUE);
  gtk_widget_show(widget_);
}

void VideoCanvas::setPlaces(Places places, double zoom) {
  places_ = std::move(places);
  zoom_ = zoom;
  tellSizes();
  if (widget_) gtk_widget_queue_draw(widget_);
}

std::shared_ptr<NativeView> VideoCanvas::renderViewOf(const Text& userId, ViewType viewType) {
  if (!userId || userId->empty()) return nullptr;
  const auto name = *userId + '/' + std::to_string(static_cast<int>(viewType));
  if (auto known = surfaceCalled(name)) return known;
  std::erase_if(surfaces_, [](const auto& entry) { return entry.second.expired(); });
  const auto redraw = [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->widget_) gtk_widget_queue_draw(self->widget_);
  };
  auto made = std::make_shared<VideoSurface>(mainQueue_, redraw);
  surfaces_[name] = made;
  tellSizes();
  return made;
}

std::shared_ptr<VideoSurface> VideoCanvas::surfaceCalled(const std::string& name) const {
  const auto found = surfaces_.find(name);
  return found == surfaces_.end() ? nullptr : found->second.lock();
}

void VideoCanvas::tellSizes() {
  const double scale = zoom_ * (widget_ ? gtk_widget_get_scale_factor(widget_) : 1);
  for (const auto& view : places_.views) {
    if (const auto surface = surfaceCalled(view.name)) {
      surface->setSize(static_cast<int>(std::lround(view.box.width * scale)),
                       static_cast<int>(std::lround(view.box.height * scale)));
    }
  }
}

void VideoCanvas::draw(cairo_t* to) const {
  cairo_scale(to, zoom_, zoom_);
  for (const auto& view : places_.views) {
    const auto surface = surfaceCalled(view.name);
    if (!surface || view.box.width < 1 || view.box.height < 1) continue;
    cairo_save(to);
    if (view.clip) {
      addBox(to, *view.clip, {});
      cairo_clip(to);
    }
    addBox(to, view.box, view.radius);
    cairo_clip(to);
    for (const auto& covering : places_.above) {
      // All but what lies above.
      double left = 0;
      double top = 0;
      double right = 0;
      double bottom = 0;
      cairo_clip_extents(to, &left, &top, &right, &bottom);
      cairo_rectangle(to, left, top, right - left, bottom - top);
      addBox(to, covering.box,
             {covering.radius, covering.radius, covering.radius, covering.radius});
      cairo_set_fill_rule(to, CAIRO_FILL_RULE_EVEN_ODD);
      cairo_clip(to);
    }
    cairo_translate(to, view.box.left, view.box.top);
    surface->paint(to, view.box.width, view.box.height);
    cairo_restore(to);
  }
}

}  // namespace vemo
