#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

/// What every VEMOUIRenderSource promises. A Maker has:
///   VEMOUIRenderSource& source();
///   std::shared_ptr<NativeView> add(const Text& userId, ViewType type);  makes such a view
template <class Maker>
class VEMOUIRenderSourceContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOUIRenderSourceContract);

TYPED_TEST_P(VEMOUIRenderSourceContract, GivesTheViewOfUserAndType) {
  const auto camera = this->maker_.add("ann", ViewType::camera);
  const auto screen = this->maker_.add("ann", ViewType::subStream);
  const auto other = this->maker_.add("bob", ViewType::camera);
  ASSERT_NE(camera, nullptr);
  EXPECT_EQ(this->maker_.source().renderViewOf("ann", ViewType::camera), camera);
  EXPECT_EQ(this->maker_.source().renderViewOf("ann", ViewType::subStream), screen);
  EXPECT_EQ(this->maker_.source().renderViewOf("bob", ViewType::camera), other);
}

TYPED_TEST_P(VEMOUIRenderSourceContract, GivesNullWhereThereIsNone) {
  this->maker_.add("ann", ViewType::camera);
  EXPECT_EQ(this->maker_.source().renderViewOf("ann", ViewType::subStream), nullptr);
  EXPECT_EQ(this->maker_.source().renderViewOf("bob", ViewType::camera), nullptr);
  EXPECT_EQ(this->maker_.source().renderViewOf(std::nullopt, ViewType::camera), nullptr);
}

REGISTER_TYPED_TEST_SUITE_P(VEMOUIRenderSourceContract, GivesTheViewOfUserAndType,
                            GivesNullWhereThereIsNone);

}  // namespace vemo
