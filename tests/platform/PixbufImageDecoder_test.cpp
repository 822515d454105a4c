#include "platform/PixbufImageDecoder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <future>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/ForwardingPlatform.h"
#include "platform/ImageFiles.h"
#include "testing/Arrivals.h"
#include "testing/contracts/ImageDecoder_contract.h"

namespace vemo {
namespace {

using namespace images;

const std::vector<std::uint8_t> kSixPixels{255, 0, 0, 0,   255, 0,   0,   0, 255,
                                           1,   2, 3, 255, 255, 255, 100, 0, 50};

std::string sixPixels(const char* kind) { return file(kind, 3, 2, false, kSixPixels); }

struct PixbufImageDecoderMaker {
  ImageDecoder& decoder() { return decoder_; }
  std::string image() { return sixPixels("png"); }

  PixbufImageDecoder decoder_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(PixbufImageDecoder, ImageDecoderContract, PixbufImageDecoderMaker);

struct ForwardedPixbufImageDecoderMaker : PixbufImageDecoderMaker {
  ImageDecoder& decoder() { return forwarder_; }

  ForwardingImageDecoder forwarder_{decoder_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, ImageDecoderContract, ForwardedPixbufImageDecoderMaker);

using ImagePtr = std::shared_ptr<VEMOImage>;

std::shared_ptr<DecodedImage> decoded(std::string bytes) {
  Arrivals<ImagePtr> images;
  PixbufImageDecoder decoder;
  decoder.decode(std::move(bytes), [&](ImagePtr image) { images.add(std::move(image)); });
  return std::dynamic_pointer_cast<DecodedImage>(images.next().value_or(nullptr));
}

TEST(PixbufImageDecoder, GivesThePixelsRowByRow) {
  for (const auto* kind : {"png", "bmp"}) {
    const auto image = decoded(sixPixels(kind));
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

TEST(PixbufImageDecoder, DecodesTheFirstFrameOfAGif) {
  auto gif = gifStart(2, 2) + gifTransparent(3) + gifFrame(2, 2, {1, 2, 3, 0});
  for (int i = 0; i < 20'000; ++i) gif += gifFrame(2, 2, {2, 2, 2, 2});
  const auto image = decoded(gif + ";");
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->width(), 2U);
  EXPECT_EQ(image->height(), 2U);
  auto rgba = image->rgba();
  EXPECT_EQ(rgba[11], 0) << "the third pixel is transparent";
  rgba.erase(rgba.begin() + 8, rgba.begin() + 12);
  EXPECT_EQ(rgba, (std::vector<std::uint8_t>{255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 255}));
}

TEST(PixbufImageDecoder, DecodesWebp) {
  if (!canWebp()) GTEST_SKIP() << "gdk-pixbuf has no loader for WebP here.";
  const auto plain = decoded(webpFile(webpPlain(3, 2, 200)));
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->width(), 3U);
  EXPECT_EQ(plain->height(), 2U);
  EXPECT_EQ(plain->rgba()[0], 200);
  EXPECT_EQ(plain->rgba()[1], 0);
  EXPECT_EQ(plain->rgba().back(), 255);

  const auto transparent = decoded(webpFile(webpPlain(1, 1, 200, 40)));
  ASSERT_NE(transparent, nullptr);
  EXPECT_EQ(transparent->rgba(), (std::vector<std::uint8_t>{200, 0, 0, 40}));

  std::vector<std::uint8_t> red;
  for (int i = 0; i < 16 * 16; ++i) red.insert(red.end(), {200, 0, 0});
  const auto photo = decoded(file("webp", 16, 16, false, red));
  ASSERT_NE(photo, nullptr);
  EXPECT_NEAR(photo->rgba()[0], 200, 8);
  EXPECT_NEAR(photo->rgba()[1], 0, 8);

  const auto frames = webpFile(webpHeader('\x02', 5, 5) + webpChunk("ANIM", "123456") +
                               webpFrame(webpPlain(3, 2, 200)) + webpFrame(webpPlain(3, 2, 100)));
  const auto first = decoded(frames);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->width(), 3U);
  EXPECT_EQ(first->rgba()[0], 200);
}

TEST(PixbufImageDecoder, RefusesAWebpThatCouldFillTheMemory) {
  if (!canWebp()) GTEST_SKIP() << "gdk-pixbuf has no loader for WebP here.";
  EXPECT_NE(decoded(webpFile(webpPlain(512, 512, 1))), nullptr);
  EXPECT_EQ(decoded(webpFile(webpPlain(513, 512, 1))), nullptr);
  EXPECT_EQ(decoded(webpFile(webpThatClaims(16'383, 16'383))), nullptr);
}

TEST(PixbufImageDecoder, ShowsOfAWebpThatIsCutShortAtMostWhatIsThere) {
  if (!canWebp()) GTEST_SKIP() << "gdk-pixbuf has no loader for WebP here.";
  constexpr int kWidth = 40;
  std::vector<std::uint8_t> pixels;
  for (int i = 0; i < kWidth * kWidth * 3; ++i)
    pixels.push_back(static_cast<std::uint8_t>(i * i / 7 % 255));
  const auto whole = file("webp", kWidth, kWidth, false, pixels);
  const auto image = decoded(whole);
  ASSERT_NE(image, nullptr);
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    const auto part = decoded(whole.substr(0, length));
    EXPECT_TRUE(!part || part->rgba().size() == image->rgba().size()) << length;
  }
}

TEST(PixbufImageDecoder, DoesNotMoveTheRestOfAGifWithEachOfItsBlocks) {
  auto gif = gifStart(1, 1);
  for (int i = 0; i < 1'000'000; ++i) gif += gifTransparent(3);  // 4 TB would be moved
  const auto before = std::clock();  // of this process: others may be busy, too
  EXPECT_NE(decoded(gif + gifFrame(1, 1, {1}) + ";"), nullptr);
  EXPECT_LT((std::clock() - before) / CLOCKS_PER_SEC, 60);
}

TEST(PixbufImageDecoder, RefusesALargeGifOfVeryManyBlocks) {
  auto gif = gifStart(4096, 4096) + gifFrame(4096, 4096, {1});
  gif.pop_back();  // the end of the blocks
  EXPECT_NE(decoded(gif + std::string(1, '\0')), nullptr);
  for (int i = 0; i < 1100; ++i) gif += std::string("\1\0", 2);
  EXPECT_EQ(decoded(gif + std::string(1, '\0')), nullptr);
}

TEST(PixbufImageDecoder, ShowsOfAFileThatIsCutShortOnlyWhatIsThere) {
  constexpr int kWidth = 40;
  std::vector<std::uint8_t> pixels;
  for (int i = 0; i < kWidth * kWidth * 3; ++i) {
    pixels.push_back(static_cast<std::uint8_t>(i * i / 7 % 255 + 1));
  }
  const auto whole = file("png", kWidth, kWidth, false, pixels);
  std::size_t partial = 0;
  for (std::size_t size = 0; size < whole.size(); size += 7) {
    const auto image = decoded(whole.substr(0, size));
    if (!image) continue;
    ASSERT_EQ(image->rgba().size(), std::size_t{kWidth} * kWidth * 4);
    for (std::size_t i = 0; i < std::size_t{kWidth} * kWidth * 3; ++i) {
      const auto shown = image->rgba()[i / 3 * 4 + i % 3];
      ASSERT_TRUE(shown == pixels[i] || shown == 0) << "byte " << i << " of a cut to " << size;
    }
    if (image->rgba()[0] == pixels[0]) ++partial;
  }
  EXPECT_GT(partial, 0U) << "nothing was ever decoded";
}

TEST(PixbufImageDecoder, BearsDamagedFiles) {
  const auto gif = gifStart(3, 2) + gifTransparent(0) + gifFrame(3, 2, {1, 2, 3, 3, 2, 1}) + ";";
  std::size_t borne = 0;
  for (const auto& whole : {sixPixels("png"), sixPixels("jpeg"), sixPixels("bmp"), gif}) {
    ASSERT_NE(decoded(whole), nullptr);
    for (std::size_t at = 0; at < whole.size(); ++at) {
      auto damaged = whole;
      damaged[at] = static_cast<char>(damaged[at] ^ 0x01);
      const auto image = decoded(damaged);
      if (!image) continue;
      EXPECT_EQ(image->rgba().size(), image->width() * image->height() * 4);
      ++borne;
    }
  }
  EXPECT_GT(borne, 0U) << "every damage was fatal";
}

/// A line of /proc/self/status, in kB.
std::size_t status(const std::string& name) {
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with(name + ":")) return std::stoul(line.substr(name.size() + 1));
  }
  ADD_FAILURE() << "no " << name;
  return 0;
}

TEST(PixbufImageDecoder, TakesLittleMemoryForAttacks) {
  EXPECT_NE(decoded(pngThatClaims(3, 2)), nullptr);
  EXPECT_NE(decoded(gifStart(1, 1) + gifFrame(1, 1, {1})), nullptr);
  const std::vector<std::string> attacks{
      pngThatClaims(4097, 4096),
      pngThatClaims(20'000, 20'000),
      pngThatClaims(1'000'000, 1'000'000),
      jpegThatClaims(65'500, 65'500),
      gifStart(1, 1) + gifFrame(11'000, 11'000, {1}) + ";",
      gifStart(11'000, 11'000) + gifFrame(1, 1, {1}) + ";",
      bmpThatClaims(20'000, 20'000),
      bmpThatClaims(2, 1, 0x30000000U),
      "/* XPM */ static char * a[] = {\"11000 11000 1 1\", \"a c red\", \"a\"};"};
  const auto texts = pngWithLongTexts(100);
  constexpr std::size_t kLittle = 300'000;  // kB; each attack wants more
  const auto before = status("VmPeak");
  for (const auto& attack : attacks) EXPECT_EQ(decoded(attack), nullptr);
  EXPECT_NE(decoded(texts), nullptr);
  EXPECT_LT(status("VmPeak") - before, kLittle);
}

TEST(PixbufImageDecoder, RefusesJpegsThatGoOverTheirPixelsTooOften) {
  EXPECT_NE(decoded(progressiveJpeg(64, 64, 1000)), nullptr);
  EXPECT_NE(decoded(progressiveJpeg(512, 512, 10)), nullptr);
  EXPECT_EQ(decoded(progressiveJpeg(512, 512, 1025)), nullptr);
  EXPECT_EQ(decoded(progressiveJpeg(4096, 4096, 17)), nullptr);
}

TEST(PixbufImageDecoder, AsksNoOtherLoader) {
  for (const auto* other :
       {"<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect width='9'/></svg>",
        "<?xml version='1.0'?><svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>",
        "/* XPM */\nstatic char * a[] = {\n\"1 1 1 1\",\n\"a c red\",\n\"a\"};\n",
        "P3 1 1 255 1 2 3 ", "#define a_width 1\n#define a_height 1\nstatic char a_bits[]={1};"}) {
    EXPECT_EQ(decoded(other), nullptr);
  }
  EXPECT_NE(decoded(sixPixels("bmp")), nullptr);
  std::ostringstream libraries;
  libraries << std::ifstream("/proc/self/maps").rdbuf();
  for (const auto* name : {"pixbufloader-svg", "pixbufloader-xpm", "pixbufloader-pnm", "librsvg"}) {
    EXPECT_EQ(libraries.str().find(name), std::string::npos) << name << " was loaded";
  }
}

/// Holds up the decoder's thread, in a `done`, for as long as it lives or until release.
class Pause {
 public:
  explicit Pause(ImageDecoder& decoder) {
    decoder.decode("", [this, released = release_.get_future().share()](const ImagePtr&) {
      reached_.add(true);
      released.wait();
    });
    reached_.next();
  }
  ~Pause() { release(); }
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;
  void release() {
    if (!std::exchange(over_, true)) release_.set_value();
  }

 private:
  Arrivals<bool> reached_;
  std::promise<void> release_;
  bool over_ = false;
};

TEST(PixbufImageDecoder, RequestersTakeTurns) {
  Arrivals<std::string> ended;
  PixbufImageDecoder decoder;
  const auto first = decoder.forRequester();
  const auto second = decoder.forRequester();
  Pause pause(decoder);
  const auto ask = [&](ImageDecoder& requester, const std::string& name) {
    requester.decode(sixPixels("png"), [&, name](const ImagePtr&) { ended.add(name); });
  };
  for (const auto* name : {"first 1", "first 2", "first 3"}) ask(*first, name);
  for (const auto* name : {"second 1", "second 2"}) ask(*second, name);
  ask(decoder, "itself");
  pause.release();
  EXPECT_EQ(ended.next(6), (std::vector<std::string>{"first 1", "second 1", "itself", "first 2",
                                                     "second 2", "first 3"}));
}

TEST(PixbufImageDecoder, KeepsOnlySoMuchForEachRequester) {
  // What follows the end of a file is not decoded, but it is held.
  const auto large = sixPixels("png").append(PixbufImageDecoder::kMaxWaitingBytes * 2 / 3, 'x');
  Arrivals<ImagePtr> images;
  PixbufImageDecoder decoder;
  const auto other = decoder.forRequester();
  Pause pause(decoder);
  const auto take = [&](ImagePtr image) { images.add(std::move(image)); };
  decoder.decode(large, take);
  decoder.decode(large, take);
  decoder.decode(sixPixels("png"), take);
  pause.release();
  const auto own = images.next(3);
  ASSERT_EQ(own.size(), 3U);
  EXPECT_NE(own[0], nullptr);
  EXPECT_EQ(own[1], nullptr);
  EXPECT_NE(own[2], nullptr);

  Pause again(decoder);
  decoder.decode(large, [](const ImagePtr&) {});
  other->decode(large, take);
  again.release();
  EXPECT_NE(images.next().value_or(nullptr), nullptr) << "another requester's file was dropped";
}

TEST(PixbufImageDecoder, ItsEndWaitsForNoImage) {
  constexpr std::size_t kCount = 40;
  const auto large = black("png", 4096, 4096);
  Arrivals<bool> ended;
  Arrivals<bool> letGo;
  {
    PixbufImageDecoder decoder;
    for (std::size_t i = 0; i < kCount; ++i) {
      const std::shared_ptr<void> token(nullptr, [&](void*) { letGo.add(true); });
      decoder.decode(large, [&, token](const ImagePtr&) { ended.add(true); });
    }
  }
  EXPECT_EQ(letGo.count(), kCount) << "a callback is still held";
  EXPECT_LT(ended.count(), kCount);
}

TEST(PixbufImageDecoder, ItsEndWaitsForACallback) {
  std::promise<void> called;
  std::promise<void> mayEnd;
  bool ended = false;
  auto decoder = std::make_unique<PixbufImageDecoder>();
  decoder->decode("", [&](const ImagePtr&) {
    called.set_value();
    mayEnd.get_future().wait();
    ended = true;
  });
  called.get_future().wait();
  std::thread release([&] { mayEnd.set_value(); });
  decoder.reset();
  release.join();
  EXPECT_TRUE(ended);
}

TEST(PixbufImageDecoder, TheEndOfARequesterDropsItsImagesAlone) {
  Arrivals<std::string> ended;
  PixbufImageDecoder decoder;
  auto leaving = decoder.forRequester();
  const auto staying = decoder.forRequester();
  Pause pause(decoder);
  leaving->decode(sixPixels("png"), [&](const ImagePtr&) { ended.add("leaving"); });
  staying->decode(sixPixels("png"), [&](const ImagePtr&) { ended.add("staying"); });
  leaving.reset();
  pause.release();
  EXPECT_EQ(ended.next(), "staying");
}

TEST(PixbufImageDecoder, MayBeDestroyedByACallback) {
  Arrivals<bool> letGo;
  std::shared_ptr<void> token(nullptr, [&](void*) { letGo.add(true); });
  auto decoder = std::make_unique<PixbufImageDecoder>();
  auto requester = decoder->forRequester();
  std::promise<void> go;
  Arrivals<bool> destroyed;
  requester->decode("", [&](const ImagePtr&) {
    go.get_future().wait();
    decoder.reset();
    requester.reset();
    destroyed.add(true);
  });
  decoder->decode("", [token = std::move(token)](const ImagePtr&) { FAIL(); });
  go.set_value();
  EXPECT_EQ(destroyed.next(), true);
  EXPECT_EQ(letGo.next(), true);
}

TEST(PixbufImageDecoder, ARequesterMayOutliveIt) {
  auto decoder = std::make_unique<PixbufImageDecoder>();
  const auto requester = decoder->forRequester();
  decoder.reset();
  Arrivals<bool> letGo;
  std::shared_ptr<void> token(nullptr, [&](void*) { letGo.add(true); });
  requester->decode(sixPixels("png"), [token = std::move(token)](const ImagePtr&) { FAIL(); });
  EXPECT_EQ(letGo.count(), 1U);
}

}  // namespace
}  // namespace vemo
