#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "bridge/ImageDecoder.h"

namespace vemo {

/// What every ImageDecoder promises. A Maker has:
///   ImageDecoder& decoder();
///   std::string image();  the contents of an image file that it can decode
template <class Maker>
class ImageDecoderContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(ImageDecoderContract);

TYPED_TEST_P(ImageDecoderContract, DecodesAnImage) {
  const auto first = this->maker_.decoder().decode(this->maker_.image());
  const auto second = this->maker_.decoder().decode(this->maker_.image());
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
}

TYPED_TEST_P(ImageDecoderContract, GivesNullForWhatIsNoImage) {
  EXPECT_EQ(this->maker_.decoder().decode(""), nullptr);
  EXPECT_EQ(this->maker_.decoder().decode("<html>not found</html>"), nullptr);
  EXPECT_EQ(this->maker_.decoder().decode(std::string(100, '\0')), nullptr);
}

TYPED_TEST_P(ImageDecoderContract, ServesSeveralThreads) {
  const auto image = this->maker_.image();
  std::atomic<int> decoded = 0;
  const auto decode = [&] {
    for (int i = 0; i < 20; ++i) decoded += this->maker_.decoder().decode(image) ? 1 : 0;
  };
  std::thread other(decode);
  decode();
  other.join();
  EXPECT_EQ(decoded, 40);
}

REGISTER_TYPED_TEST_SUITE_P(ImageDecoderContract, DecodesAnImage, GivesNullForWhatIsNoImage,
                            ServesSeveralThreads);

}  // namespace vemo
