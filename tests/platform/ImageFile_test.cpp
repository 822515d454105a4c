#include "platform/ImageFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/ImageFiles.h"

namespace vemo {
namespace {

using namespace images;

std::string typeOf(const std::string& file) {
  const auto picture = firstPicture(file);
  return picture ? picture->type : "none";
}

std::uint64_t pixelsOf(const std::string& file) {
  const auto picture = firstPicture(file);
  return picture ? picture->pixels : 0;
}

TEST(ImageFile, KnowsFiveTypesByTheirFirstBytes) {
  EXPECT_EQ(typeOf(black("png", 3, 2)), "png");
  EXPECT_EQ(typeOf(black("jpeg", 3, 2)), "jpeg");
  EXPECT_EQ(typeOf(black("bmp", 3, 2)), "bmp");
  EXPECT_EQ(typeOf(gifStart(1, 1) + gifFrame(1, 1, {1}) + ";"), "gif");
  EXPECT_EQ(typeOf(webpFile(webpPlain(3, 2, 9))), "webp");
  for (const auto* other :
       {"", "G", "GIF88a..............", "BM", "BM..............", "\xFF\xD8", "\xFF\xD8\xFF",
        "\x89PNG\r\n\x1A\n", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>",
        "/* XPM */ static char * a[] = {\"1 1 1 1\", \"a c red\", \"a\"};", "P3 1 1 255 1 2 3",
        "II*", "RIFF....WEBPVP8 ", "RIFF....WAVEVP8L"}) {
    EXPECT_EQ(typeOf(other), "none") << other;
  }
}

TEST(ImageFile, ReadsTheSize) {
  EXPECT_EQ(pixelsOf(black("png", 30, 20)), 600U);
  EXPECT_EQ(pixelsOf(black("jpeg", 30, 20)), 600U);
  EXPECT_EQ(pixelsOf(black("bmp", 30, 20)), 600U);
  EXPECT_EQ(pixelsOf(pngThatClaims(1'000'000, 1'000'000)), 1'000'000'000'000U);
  EXPECT_EQ(pixelsOf(jpegThatClaims(65'500, 65'500)), 65'500ULL * 65'500);
  EXPECT_EQ(pixelsOf(bmpThatClaims(40'000, 40'000)), 40'000ULL * 40'000);
  EXPECT_EQ(pixelsOf(bmpThatClaims(10, static_cast<std::uint32_t>(-20))), 200U);
  EXPECT_EQ(pixelsOf(bmpThatClaims(0x80000000U, 1)), 0x80000000U);
  EXPECT_EQ(pixelsOf(webpFile(webpPlain(16'384, 16'384, 9))), 16'384ULL * 16'384);
  EXPECT_EQ(pixelsOf(webpFile(webpThatClaims(16'383, 2))), 32'766U);
  EXPECT_EQ(pixelsOf(webpFile(webpThatClaims(0xC003, 0x4002))), 6U) << "scaling is not a size";
  EXPECT_EQ(pixelsOf(gifStart(3, 4) + gifFrame(2, 2, {1})), 12U);
  EXPECT_EQ(pixelsOf(gifStart(1, 1) + gifFrame(65'535, 65'535, {1})), 65'535ULL * 65'535);
}

TEST(ImageFile, RefusesWhatHasNoSize) {
  EXPECT_EQ(typeOf(pngThatClaims(0, 1)), "none");
  EXPECT_EQ(typeOf(jpegThatClaims(1, 0)), "none");
  EXPECT_EQ(typeOf(bmpThatClaims(0, 1)), "none");
  EXPECT_EQ(typeOf(gifStart(0, 1) + gifFrame(1, 1, {1})), "none");
  EXPECT_EQ(typeOf(gifStart(1, 1) + gifFrame(1, 0, {1})), "none");
  EXPECT_EQ(typeOf(gifStart(1, 1) + ";"), "none");
}

TEST(ImageFile, RefusesAWebpThatIsNone) {
  EXPECT_EQ(typeOf(webpFile(webpThatClaims(0, 1))), "none");
  auto noKeyFrame = webpFile(webpThatClaims(1, 1));
  noKeyFrame[20] = '\x11';
  EXPECT_EQ(typeOf(noKeyFrame), "none");
  auto unmarked = webpFile(webpPlain(1, 1, 9));
  unmarked[20] = '\x2E';
  EXPECT_EQ(typeOf(unmarked), "none");
  EXPECT_EQ(typeOf(webpFile(webpHeader('\x10', 1, 1) + webpChunk("ALPH", "a"))), "none");
}

TEST(ImageFile, TakesTheFirstFrameOfAWebp) {
  const auto plain = webpFile(webpPlain(3, 2, 9));
  const auto second = webpFrame(webpPlain(9, 9, 1));
  EXPECT_EQ(firstPicture(webpFile(webpHeader('\x02', 50, 50) + webpChunk("ANIM", "123456") +
                                  webpFrame(webpPlain(3, 2, 9)) + second))
                ->bytes,
            plain);
  EXPECT_EQ(firstPicture(webpFile(webpHeader('\x2C', 3, 2) + webpChunk("ICCP", "odd") +
                                  webpPlain(3, 2, 9) + webpChunk("EXIF", "x")) +
                         "behind the end")
                ->bytes,
            plain);
  const auto alpha = webpChunk("ALPH", std::string("\0aaaaaa", 7));
  const auto opaque = webpThatClaims(3, 2);
  EXPECT_EQ(firstPicture(webpFile(webpHeader('\x12', 50, 50) + webpFrame(alpha + opaque) + second))
                ->bytes,
            webpFile(webpHeader('\x10', 3, 2) + alpha + opaque));
}

TEST(ImageFile, KnowsHowDearAWebpIs) {
  const auto passes = [](const std::string& chunks) {
    return firstPicture(webpFile(chunks))->passes;
  };
  EXPECT_EQ(passes(webpThatClaims(3, 2)), 1U);
  EXPECT_EQ(passes(webpPlain(3, 2, 9)), 1024U);
  EXPECT_EQ(passes(webpChunk("ALPH", std::string("\x08", 1)) + webpThatClaims(3, 2)), 1U);
  EXPECT_EQ(passes(webpChunk("ALPH", "\x09") + webpThatClaims(3, 2)), 1024U);
  EXPECT_EQ(passes(webpChunk("ALPH", "") + webpThatClaims(3, 2)), 1024U);
}

TEST(ImageFile, RefusesASecondSize) {
  auto png = black("png", 3, 2);
  EXPECT_EQ(typeOf(png.insert(kPngSecond, png.substr(kPngHeader, kPngSecond - kPngHeader))),
            "none");
  auto jpeg = black("jpeg", 3, 2);
  const auto frame = jpegSegment(jpeg, '\xC0');
  EXPECT_EQ(typeOf(jpeg.insert(frame, jpeg.substr(frame, 19))), "none");
}

TEST(ImageFile, RefusesABitmapWhosePixelsBeginBeyondItsEnd) {
  EXPECT_EQ(typeOf(bmpThatClaims(2, 1, 62)), "bmp");
  EXPECT_EQ(typeOf(bmpThatClaims(2, 1, 63)), "none");
  EXPECT_EQ(typeOf(bmpThatClaims(2, 1, 0xFFFFFFF0U)), "none");
}

TEST(ImageFile, LeavesOutTheOtherFramesOfAGif) {
  const auto first = gifStart(2, 1) + gifTransparent(1) + gifFrame(2, 1, {1, 2});
  auto gif = first;
  for (int i = 0; i < 100; ++i) gif += gifFrame(2, 1, {2, 2});
  EXPECT_EQ(firstPicture(gif + ";")->bytes, first + ";");
  const std::string comment("!\xFE\5hello\0", 9);
  EXPECT_EQ(firstPicture(gifStart(2, 1) + comment + gifFrame(2, 1, {1, 2}))->bytes,
            gifStart(2, 1) + gifFrame(2, 1, {1, 2}) + ";");
}

TEST(ImageFile, LeavesOutTextsAndProfiles) {
  const auto png = black("png", 3, 2);
  auto texts = png;
  texts.insert(kPngSecond, pngChunk("zTXt", "a") + pngChunk("iCCP", "b") + pngChunk("tEXt", "c"));
  EXPECT_EQ(firstPicture(texts + "behind the end")->bytes, firstPicture(png)->bytes);

  const auto jpeg = black("jpeg", 3, 2);
  auto profile = jpeg;
  profile.insert(2, std::string("\xFF\xE2\0\5abc\xFF\xFE\0\3d", 12));
  EXPECT_EQ(firstPicture(profile + "behind the end")->bytes, firstPicture(jpeg)->bytes);
}

TEST(ImageFile, CountsTheScansOfAJpeg) {
  EXPECT_EQ(firstPicture(black("jpeg", 16, 16))->passes, 1U);
  const auto jpeg = progressiveJpeg(16, 8, 300);
  EXPECT_EQ(firstPicture(jpeg)->passes, 300U);
  EXPECT_EQ(firstPicture(jpeg)->pixels, 128U);
  EXPECT_EQ(firstPicture(jpeg)->bytes, jpeg);
}

TEST(ImageFile, CountsTheBlocksOfAGif) {
  auto gif = gifStart(2, 1) + gifFrame(2, 1, {1, 2});
  EXPECT_EQ(firstPicture(gif)->passes, 1U);
  gif.pop_back();  // the end of the blocks
  for (int i = 0; i < 640; ++i) gif += "\1x";
  EXPECT_EQ(firstPicture(gif + '\0')->passes, 11U);
}

TEST(ImageFile, BearsFilesThatAreCutShortOrDamaged) {
  const auto webp =
      webpFile(webpHeader('\x10', 3, 2) + webpChunk("ALPH", "abc") + webpThatClaims(3, 2));
  for (const auto& whole : {black("png", 3, 2), black("jpeg", 3, 2), black("bmp", 3, 2), webp,
                            gifStart(3, 2) + gifTransparent(0) + gifFrame(3, 2, {1, 2, 3}) + ";"}) {
    for (std::size_t at = 0; at < whole.size(); ++at) {
      for (const int bits : {0x01, 0x80, 0xFF}) {
        auto damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ bits);
        const auto picture = firstPicture(damaged);
        EXPECT_TRUE(!picture || picture->bytes.size() <= whole.size() + 1);
      }
      const auto cut = firstPicture(whole.substr(0, at));
      EXPECT_TRUE(!cut || cut->bytes.size() <= at + 1);
    }
  }
}

}  // namespace
}  // namespace vemo
