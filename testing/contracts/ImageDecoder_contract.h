#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/ImageDecoder.h"
#include "testing/Arrivals.h"

namespace vemo {

/// What every ImageDecoder promises. A Maker has:
///   ImageDecoder& decoder();
///   std::string image();  the contents of an image file that it can decode
template <class Maker>
class ImageDecoderContract : public ::testing::Test {
 protected:
  void decode(std::string bytes) {
    maker_.decoder().decode(std::move(bytes), [this](std::shared_ptr<VEMOImage> image) {
      images_.add(std::move(image));
    });
  }

  Arrivals<std::shared_ptr<VEMOImage>> images_;
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(ImageDecoderContract);

TYPED_TEST_P(ImageDecoderContract, DecodesAnImage) {
  this->decode(this->maker_.image());
  const auto image = this->images_.next();
  ASSERT_TRUE(image);
  EXPECT_NE(*image, nullptr);
}

TYPED_TEST_P(ImageDecoderContract, GivesNullForWhatIsNoImage) {
  for (const auto& bytes :
       {std::string(), std::string("<html>not found</html>"), std::string(100, '\0')}) {
    this->decode(bytes);
    const auto image = this->images_.next();
    ASSERT_TRUE(image);
    EXPECT_EQ(*image, nullptr) << bytes;
  }
}

TYPED_TEST_P(ImageDecoderContract, EndsEachOnceInTheirOrderAndLetsGo) {
  Arrivals<bool> letGo;
  Arrivals<std::pair<int, bool>> ended;
  std::shared_ptr<void> token(nullptr, [&](void*) { letGo.add(true); });
  constexpr int kCount = 6;
  for (int i = 0; i < kCount; ++i) {
    this->maker_.decoder().decode(i % 2 == 0 ? this->maker_.image() : "no image",
                                  [&, i, token](const std::shared_ptr<VEMOImage>& image) {
                                    ended.add({i, image != nullptr});
                                  });
  }
  token.reset();
  EXPECT_EQ(letGo.next(), true);
  ended.add({kCount, true});  // nothing can come after this
  const auto all = ended.next(kCount + 1);
  ASSERT_EQ(all.size(), kCount + 1U);
  for (int i = 0; i <= kCount; ++i) {
    EXPECT_EQ(all[static_cast<std::size_t>(i)], std::make_pair(i, i % 2 == 0));
  }
}

TYPED_TEST_P(ImageDecoderContract, ServesSeveralThreads) {
  constexpr int kCount = 20;
  const auto image = this->maker_.image();
  const auto decode = [&] {
    for (int i = 0; i < kCount; ++i) this->decode(image);
  };
  std::thread other(decode);
  decode();
  other.join();
  for (const auto& decoded : this->images_.next(std::size_t{2} * kCount)) {
    EXPECT_NE(decoded, nullptr);
  }
}

TYPED_TEST_P(ImageDecoderContract, MayBeCalledByACallback) {
  this->maker_.decoder().decode("no image", [this](const std::shared_ptr<VEMOImage>&) {
    this->decode(this->maker_.image());
  });
  const auto image = this->images_.next();
  ASSERT_TRUE(image);
  EXPECT_NE(*image, nullptr);
}

REGISTER_TYPED_TEST_SUITE_P(ImageDecoderContract, DecodesAnImage, GivesNullForWhatIsNoImage,
                            EndsEachOnceInTheirOrderAndLetsGo, ServesSeveralThreads,
                            MayBeCalledByACallback);

}  // namespace vemo
