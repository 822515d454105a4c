#include "platform/PixbufImageDecoder.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gtest/gtest.h>

#include <boost/crc.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "testing/contracts/ImageDecoder_contract.h"

namespace vemo {
namespace {

/// A file of `kind` ("png", "jpeg", "bmp") with an image of those pixels.
std::string file(const char* kind, int width, int height, bool alpha,
                 std::vector<std::uint8_t> pixels) {
  const int channels = alpha ? 4 : 3;
  auto* pixbuf = gdk_pixbuf_new_from_data(pixels.data(), GDK_COLORSPACE_RGB, alpha, 8, width,
                                          height, width * channels, nullptr, nullptr);
  gchar* bytes = nullptr;
  gsize size = 0;
  EXPECT_TRUE(gdk_pixbuf_save_to_buffer(pixbuf, &bytes, &size, kind, nullptr, nullptr));
  std::string contents(bytes, size);
  g_free(bytes);
  g_object_unref(pixbuf);
  return contents;
}

const std::vector<std::uint8_t> kSixPixels{255, 0, 0, 0,   255, 0,   0,   0, 255,
                                           1,   2, 3, 255, 255, 255, 100, 0, 50};

struct PixbufImageDecoderMaker {
  ImageDecoder& decoder() { return decoder_; }
  std::string image() { return file("png", 3, 2, false, kSixPixels); }

  PixbufImageDecoder decoder_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(PixbufImageDecoder, ImageDecoderContract, PixbufImageDecoderMaker);

std::shared_ptr<DecodedImage> decoded(const std::string& bytes) {
  return std::dynamic_pointer_cast<DecodedImage>(PixbufImageDecoder().decode(bytes));
}

TEST(PixbufImageDecoder, GivesThePixelsRowByRow) {
  for (const auto* kind : {"png", "bmp"}) {
    const auto image = decoded(file(kind, 3, 2, false, kSixPixels));
    ASSERT_NE(image, nullptr) << kind;
    EXPECT_EQ(image->width(), 3U);
    EXPECT_EQ(image->height(), 2U);
    EXPECT_EQ(image->rgba(),
              (std::vector<std::uint8_t>{255, 0, 0, 255, 0,   255, 0,   255, 0,   0, 255, 255,
                                         1,   2, 3, 255, 255, 255, 255, 255, 100, 0, 50,  255}));
  }
}

TEST(PixbufImageDecoder, KeepsTransparency) {
  const auto image = decoded(file("png", 2, 1, true, {10, 20, 30, 0, 40, 50, 60, 128}));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->rgba(), (std::vector<std::uint8_t>{10, 20, 30, 0, 40, 50, 60, 128}));
}

TEST(PixbufImageDecoder, DecodesJpeg) {
  std::vector<std::uint8_t> red;
  for (int i = 0; i < 16 * 16; ++i) red.insert(red.end(), {200, 0, 0});
  const auto image = decoded(file("jpeg", 16, 16, false, red));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 16U);
  EXPECT_NEAR(image->rgba()[0], 200, 8);
  EXPECT_NEAR(image->rgba()[1], 0, 8);
  EXPECT_EQ(image->rgba()[3], 255);
}

TEST(PixbufImageDecoder, ShowsOfAFileThatIsCutShortOnlyWhatIsThere) {
  constexpr int kWidth = 40;
  std::vector<std::uint8_t> pixels;
  for (int i = 0; i < kWidth * kWidth * 3; ++i) {
    pixels.push_back(static_cast<std::uint8_t>(i * i / 7 % 255 + 1));
  }
  const auto whole = file("png", kWidth, kWidth, false, pixels);
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    const auto image = decoded(whole.substr(0, size));
    if (!image) continue;
    ASSERT_EQ(image->rgba().size(), kWidth * kWidth * 4U);
    for (std::size_t i = 0; i < kWidth * kWidth * 3U; ++i) {
      const auto shown = image->rgba()[i / 3 * 4 + i % 3];
      ASSERT_TRUE(shown == pixels[i] || shown == 0) << "byte " << i << " of a cut to " << size;
    }
  }
}

TEST(PixbufImageDecoder, BearsDamagedFiles) {
  for (const auto* kind : {"png", "jpeg", "bmp"}) {
    const auto whole = file(kind, 3, 2, false, kSixPixels);
    for (std::size_t at = 0; at < whole.size(); ++at) {
      auto damaged = whole;
      damaged[at] = static_cast<char>(damaged[at] ^ 0x01);
      const auto image = decoded(damaged);
      EXPECT_TRUE(!image || image->rgba().size() == image->width() * image->height() * 4);
    }
  }
}

void putBigEndian(std::string& bytes, std::size_t at, std::uint32_t number) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes[at++] = static_cast<char>(number >> shift);
}

/// A PNG whose header says another size than it has, with a good checksum.
std::string pngThatClaims(std::uint32_t width, std::uint32_t height) {
  constexpr std::size_t kHeader = 12;  // "IHDR", width, height, 5 more bytes, checksum
  auto png = file("png", 3, 2, false, kSixPixels);
  putBigEndian(png, kHeader + 4, width);
  putBigEndian(png, kHeader + 8, height);
  boost::crc_32_type checksum;
  checksum.process_bytes(png.data() + kHeader, 17);
  putBigEndian(png, kHeader + 17, checksum.checksum());
  return png;
}

TEST(PixbufImageDecoder, RefusesHugeImagesBeforeItTakesMemoryForThem) {
  EXPECT_NE(decoded(pngThatClaims(3, 2)), nullptr);
  EXPECT_EQ(decoded(pngThatClaims(4097, 4096)), nullptr);
  EXPECT_EQ(decoded(pngThatClaims(60'000, 60'000)), nullptr);
  EXPECT_EQ(decoded(pngThatClaims(1'000'000, 1'000'000)), nullptr);
  EXPECT_EQ(decoded(pngThatClaims(0, 10)), nullptr);
}

}  // namespace
}  // namespace vemo
