#include "classroom/VideoSurface.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "platform/MainThreadQueue.h"

namespace vemo {
namespace {

/// Four colours: red and green above, blue and white below.
struct Picture {
  GstSample* sample = nullptr;

  Picture(int width, int height) {
    gst_init(nullptr, nullptr);
    auto* caps = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "BGRx", "width",
                                     G_TYPE_INT, width, "height", G_TYPE_INT, height, "framerate",
                                     GST_TYPE_FRACTION, 15, 1, nullptr);
    std::string pixels;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const bool isLeft = x < width / 2;
        const bool isUpper = y < height / 2;
        const char* colour = isUpper ? (isLeft ? "\0\0\xff\0" : "\0\xff\0\0")
                                     : (isLeft ? "\xff\0\0\0" : "\xff\xff\xff\0");
        pixels.append(colour, 4);
      }
    }
    auto* buffer = gst_buffer_new_memdup(pixels.data(), pixels.size());
    sample = gst_sample_new(buffer, caps, nullptr, nullptr);
    gst_buffer_unref(buffer);
    gst_caps_unref(caps);
  }
  ~Picture() { gst_sample_unref(sample); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
};

class VideoSurfaceTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 80;
  static constexpr int kHeight = 40;

  /// The letters of the colours in the middle of the four quarters of a box, row by row; a dot is
  /// the ground that shows where there is no picture, a blank where nothing was drawn.
  std::string quarters(int width = kWidth, int height = kHeight) const {
    auto* made = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    auto* to = cairo_create(made);
    surface_->paint(to, width, height);
    cairo_destroy(to);
    cairo_surface_flush(made);
    std::string seen;
    for (const int y : {height / 4, 3 * height / 4}) {
      for (const int x : {width / 4, 3 * width / 4}) seen += letterAt(made, x, y);
    }
    cairo_surface_destroy(made);
    return seen;
  }
  static char letterAt(cairo_surface_t* made, int x, int y) {
    constexpr std::ptrdiff_t kBytes = sizeof(unsigned);
    const std::ptrdiff_t line = cairo_image_surface_get_stride(made);
    unsigned pixel = 0;
    std::memcpy(&pixel, cairo_image_surface_get_data(made) + y * line + kBytes * x, kBytes);
    switch (pixel & 0xffffffU) {
      case 0xff0000U: return 'r';
      case 0x00ff00U: return 'g';
      case 0x0000ffU: return 'b';
      case 0xffffffU: return 'w';
      case 0: return ' ';
      default: return '.';
    }
  }
  void show(const Drawing& drawing) {
    const Picture picture(kWidth, kHeight);
    surface_->show(picture.sample, drawing);
  }

  MainThreadQueue queue_;
  int redrawn_ = 0;
  const std::shared_ptr<VideoSurface> surface_ =
      std::make_shared<VideoSurface>(queue_, [this] { ++redrawn_; });
};

TEST_F(VideoSurfaceTest, APanelLiesOverThePictureAsFarFromTheEdgesAsItShould) {
  const auto drawn = [&](const EdgeInsets& margin) {
    Drawing drawing;
    drawing.panel = std::make_shared<const DebugPanel>(DebugPanel{" ", margin});
    show(drawing);
    return quarters();
  };
  EXPECT_EQ(drawn({}), "..bw");
  EXPECT_EQ(drawn({.top = 20, .left = 0, .bottom = 0, .right = 0}), "rg..");
  EXPECT_EQ(drawn({.top = 0, .left = 40, .bottom = 0, .right = 0}), "r.bw");
  EXPECT_EQ(drawn({.top = 0, .left = 0, .bottom = 0, .right = 40}), ".gbw");
  EXPECT_EQ(drawn({.top = 0, .left = 0, .bottom = 35, .right = 0}), "rgbw");
}

TEST_F(VideoSurfaceTest, IsDrawnAsItIsToBeTurnedAndMirrored) {
  EXPECT_EQ(quarters(), "    ");
  const auto drawn = [&](int orientation) {
    show({true, orientation});
    return quarters();
  };
  const auto turned = [&](int orientation) {
    show({true, orientation});
    return quarters(kHeight, kWidth);  // NOLINT(readability-suspicious-call-argument): on its side
  };
  EXPECT_EQ(drawn(GST_VIDEO_ORIENTATION_IDENTITY), "rgbw");
  EXPECT_EQ(drawn(GST_VIDEO_ORIENTATION_180), "wbgr");
  EXPECT_EQ(drawn(GST_VIDEO_ORIENTATION_HORIZ), "grwb");
  EXPECT_EQ(drawn(GST_VIDEO_ORIENTATION_VERT), "bwrg");
  EXPECT_EQ(turned(GST_VIDEO_ORIENTATION_90R), "brwg");
  EXPECT_EQ(turned(GST_VIDEO_ORIENTATION_90L), "gwrb");
  EXPECT_EQ(turned(GST_VIDEO_ORIENTATION_UL_LR), "rbgw");
  EXPECT_EQ(turned(GST_VIDEO_ORIENTATION_UR_LL), "wgbr");
}

TEST_F(VideoSurfaceTest, FillsItsBoxOrFitsIntoIt) {
  // In a box that is twice as high as wide, the whole picture is a strip in the middle.
  show({true, 0});
  EXPECT_EQ(quarters(40, 80), "....");
  show({false, 0});
  EXPECT_EQ(quarters(40, 80), "rgbw");
  // In the size in which it is seen, too.
  surface_->setSize(20, 10);
  show({true, 0});
  EXPECT_EQ(quarters(20, 10), "rgbw");
}

TEST_F(VideoSurfaceTest, ManyPicturesAreOneDrawingAndNothingIsLeftAtTheEnd) {
  show({});
  show({});
  EXPECT_EQ(queue_.drain(), 1U);
  EXPECT_EQ(redrawn_, 1);
  surface_->clear();
  queue_.drain();
  EXPECT_EQ(redrawn_, 2);
  EXPECT_EQ(quarters(), "    ");
}

}  // namespace
}  // namespace vemo
