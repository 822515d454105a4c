#include "platform/PixbufImageDecoder.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>

namespace vemo {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// Tells the loader to load nothing of an image that is too large.
void checkSize(GdkPixbufLoader* loader, gint width, gint height, gpointer tooLarge) {
  const auto pixels =
      static_cast<std::size_t>(std::max(width, 0)) * static_cast<std::size_t>(std::max(height, 0));
  if (pixels <= PixbufImageDecoder::kMaxPixels) return;
  *static_cast<bool*>(tooLarge) = true;
  gdk_pixbuf_loader_set_size(loader, 0, 0);
}

/// What a file that is cut short leaves out must not show what the memory held before.
void blank(GdkPixbufLoader* loader, gpointer) {
  gdk_pixbuf_fill(gdk_pixbuf_loader_get_pixbuf(loader), 0);
}

std::shared_ptr<VEMOImage> imageOf(const GdkPixbuf* pixbuf) {
  const std::unique_ptr<GdkPixbuf, Unref> withAlpha(gdk_pixbuf_add_alpha(pixbuf, FALSE, 0, 0, 0));
  if (!withAlpha) return nullptr;
  const auto width = static_cast<std::size_t>(gdk_pixbuf_get_width(withAlpha.get()));
  const auto height = static_cast<std::size_t>(gdk_pixbuf_get_height(withAlpha.get()));
  const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(withAlpha.get()));
  const auto* row = gdk_pixbuf_read_pixels(withAlpha.get());
  std::vector<std::uint8_t> rgba;
  rgba.reserve(width * height * 4);
  for (std::size_t y = 0; y < height; ++y, row += stride) {
    rgba.insert(rgba.end(), row, row + width * 4);
  }
  return std::make_shared<DecodedImage>(width, height, std::move(rgba));
}

}  // namespace

std::shared_ptr<VEMOImage> PixbufImageDecoder::decode(const std::string& bytes) const {
  const std::unique_ptr<GdkPixbufLoader, Unref> loader(gdk_pixbuf_loader_new());
  bool tooLarge = false;
  g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(checkSize), &tooLarge);
  g_signal_connect(loader.get(), "area-prepared", G_CALLBACK(blank), nullptr);
  const bool written =
      gdk_pixbuf_loader_write(loader.get(), reinterpret_cast<const guchar*>(bytes.data()),
                              bytes.size(), nullptr) != 0;
  const bool whole = gdk_pixbuf_loader_close(loader.get(), nullptr) != 0;  // always closed
  if (!written || !whole || tooLarge) return nullptr;
  const auto* pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
  return pixbuf ? imageOf(pixbuf) : nullptr;
}

}  // namespace vemo
