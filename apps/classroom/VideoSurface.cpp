#include "classroom/VideoSurface.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>
#include <string>
#include <utility>

namespace vemo {
namespace {

/// Whether width and height change places.
bool isTurned(int orientation) {
  switch (orientation) {
    case GST_VIDEO_ORIENTATION_90R:
    case GST_VIDEO_ORIENTATION_90L:
    case GST_VIDEO_ORIENTATION_UL_LR:
    case GST_VIDEO_ORIENTATION_UR_LL: return true;
    default: return false;
  }
}

cairo_matrix_t matrixOf(int orientation) {
  switch (orientation) {
    case GST_VIDEO_ORIENTATION_90R: return {0, 1, -1, 0, 0, 0};
    case GST_VIDEO_ORIENTATION_180: return {-1, 0, 0, -1, 0, 0};
    case GST_VIDEO_ORIENTATION_90L: return {0, -1, 1, 0, 0, 0};
    case GST_VIDEO_ORIENTATION_HORIZ: return {-1, 0, 0, 1, 0, 0};
    case GST_VIDEO_ORIENTATION_VERT: return {1, 0, 0, -1, 0, 0};
    case GST_VIDEO_ORIENTATION_UL_LR: return {0, 1, 1, 0, 0, 0};
    case GST_VIDEO_ORIENTATION_UR_LL: return {0, -1, -1, 0, 0, 0};
    default: return {1, 0, 0, 1, 0, 0};
  }
}

struct Size {
  double width;
  double height;
};

/// By how much a picture is enlarged in a box.
double scaleOf(Size picture, const Drawing& drawing, Size box) {
  if (isTurned(drawing.orientation)) std::swap(picture.width, picture.height);
  const double byWidth = box.width / picture.width;
  const double byHeight = box.height / picture.height;
  return drawing.fit ? std::min(byWidth, byHeight) : std::max(byWidth, byHeight);
}

/// Lines on a dark ground, as wide as the margins leave of a box.
void paintPanel(cairo_t* to, const DebugPanel& panel, Size box) {
  constexpr double kLineHeight = 14;
  constexpr double kRoom = 4;
  const auto& margin = panel.margin;
  const double width = box.width - margin.left - margin.right;
  const double height = box.height - margin.top - margin.bottom;
  const auto lines = std::ranges::count(panel.text, '\n') + 1;
  cairo_rectangle(to, margin.left, margin.top, width, height);
  cairo_clip(to);
  cairo_rectangle(to, margin.left, margin.top, width,
                  static_cast<double>(lines) * kLineHeight + kRoom);
  cairo_set_source_rgba(to, 0, 0, 0, 0.6);
  cairo_fill(to);
  cairo_set_source_rgb(to, 1, 1, 1);
  cairo_select_font_face(to, "monospace", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(to, 11);
  std::istringstream text(panel.text);
  double bottom = margin.top + kLineHeight;
  for (std::string line; std::getline(text, line); bottom += kLineHeight) {
    cairo_move_to(to, margin.left + kRoom, bottom);
    cairo_show_text(to, line.c_str());
  }
}

}  // namespace

VideoSurface::VideoSurface(MainQueue& mainQueue, std::function<void()> redraw)
    : mainQueue_(mainQueue), redraw_(std::move(redraw)) {}

void VideoSurface::setSize(int width, int height) {
  width_ = width;
  height_ = height;
}

void VideoSurface::show(GstSample* picture, const Drawing& drawing) {
  auto made = converted(picture, drawing);
  if (!made) return;
  {
    const std::lock_guard lock(mutex_);
    surface_.swap(made);
    drawing_ = drawing;
  }
  tell();
}

void VideoSurface::clear() {
  Surface former;
  {
    const std::lock_guard lock(mutex_);
    surface_.swap(former);
  }
  tell();
}

void VideoSurface::tell() {
  if (told_.exchange(true)) return;
  mainQueue_.dispatchAsync([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->told_ = false;
    self->redraw_();
  });
}

VideoSurface::Surface VideoSurface::converted(GstSample* picture, const Drawing& drawing) {
  GstVideoInfo from;
  if (!gst_video_info_from_caps(&from, gst_sample_get_caps(picture))) return nullptr;
  const double width = GST_VIDEO_INFO_WIDTH(&from);
  const double height = GST_VIDEO_INFO_HEIGHT(&from);
  // Nothing is enlarged here: there would only be more to draw.
  const double boxWidth = width_;
  const double boxHeight = height_;
  const double scale = boxWidth > 0 && boxHeight > 0
                           ? std::min(1.0, scaleOf({width, height}, drawing, {boxWidth, boxHeight}))
                           : 1.0;
  GstVideoInfo to;
  gst_video_info_set_format(&to, GST_VIDEO_FORMAT_BGRx,
                            std::max(1U, static_cast<unsigned>(std::lround(width * scale))),
                            std::max(1U, static_cast<unsigned>(std::lround(height * scale))));
  to.fps_n = from.fps_n;  // which a converter wants to be the same
  to.fps_d = from.fps_d;
  if (!converter_ || !gst_video_info_is_equal(&from, &from_) ||
      !gst_video_info_is_equal(&to, &to_)) {
    auto* config = gst_structure_new("config", GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD,
                                     GST_TYPE_VIDEO_RESAMPLER_METHOD,
                                     GST_VIDEO_RESAMPLER_METHOD_LINEAR, nullptr);
    converter_.reset(gst_video_converter_new(&from, &to, config));
    from_ = from;
    to_ = to;
    if (!converter_) return nullptr;
  }
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, GST_VIDEO_INFO_WIDTH(&to),
                                             GST_VIDEO_INFO_HEIGHT(&to)));
  auto* pixels = cairo_image_surface_get_data(surface.get());
  if (!pixels) return nullptr;
  auto* buffer =
      gst_buffer_new_wrapped_full(static_cast<GstMemoryFlags>(0), pixels, GST_VIDEO_INFO_SIZE(&to),
                                  0, GST_VIDEO_INFO_SIZE(&to), nullptr, nullptr);
  GstVideoFrame in;
  GstVideoFrame out;
  bool good = false;
  if (gst_video_frame_map(&in, &from, gst_sample_get_buffer(picture), GST_MAP_READ)) {
    if (gst_video_frame_map(&out, &to, buffer, GST_MAP_WRITE)) {
      gst_video_converter_frame(converter_.get(), &in, &out);
      gst_video_frame_unmap(&out);
      good = true;
    }
    gst_video_frame_unmap(&in);
  }
  gst_buffer_unref(buffer);
  cairo_surface_mark_dirty(surface.get());
  return good ? std::move(surface) : nullptr;
}

void VideoSurface::paint(cairo_t* to, double width, double height) const {
  const std::lock_guard lock(mutex_);
  if (!surface_) return;
  const double across = cairo_image_surface_get_width(surface_.get());
  const double down = cairo_image_surface_get_height(surface_.get());
  const double scale = scaleOf({across, down}, drawing_, {width, height});
  cairo_set_source_rgb(to, 0.04, 0.05, 0.08);
  cairo_paint(to);
  cairo_save(to);
  cairo_translate(to, width / 2, height / 2);
  cairo_scale(to, scale, scale);
  const auto matrix = matrixOf(drawing_.orientation);
  cairo_transform(to, &matrix);
  cairo_set_source_surface(to, surface_.get(), -across / 2, -down / 2);
  cairo_pattern_set_filter(cairo_get_source(to), CAIRO_FILTER_BILINEAR);
  cairo_rectangle(to, -across / 2, -down / 2, across, down);
  cairo_fill(to);
  cairo_restore(to);
  if (drawing_.panel) paintPanel(to, *drawing_.panel, {width, height});
}

}  // namespace vemo
