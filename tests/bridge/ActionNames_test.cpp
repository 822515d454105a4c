#include "bridge/ActionNames.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vemo {
namespace {

constexpr std::array<std::string_view, 3> kThree{"walk", "", "run"};
static_assert(ActionNames(kThree).find("run") == 2U, "made when compiled");

TEST(ActionNamesTest, FindEachNameAndNothingElse) {
  const ActionNames names(kThree);
  EXPECT_EQ(names.all().size(), 3U);
  EXPECT_EQ(names.find("walk"), 0U);
  EXPECT_EQ(names.find(""), 1U);
  EXPECT_EQ(names.find("run"), 2U);
  for (const auto* other : {"wal", "walks", "Walk", "rwn", "fly"}) {
    EXPECT_EQ(names.find(other), std::nullopt) << other;
  }
  EXPECT_EQ(ActionNames({}).find("walk"), std::nullopt);
}

TEST(ActionNamesTest, AsManyAsTheyCanBeAreFoundHoweverAlike) {
  // Of one length, and with the same letters at the beginning, in the middle and at the end.
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < ActionNames::kMost; ++i) {
    texts.push_back("set" + std::to_string(1000 + i) + "-" + std::to_string(1000 + i) + "end");
  }
  const std::vector<std::string_view> views(texts.begin(), texts.end());
  const ActionNames names(views);
  for (std::size_t i = 0; i < views.size(); ++i) EXPECT_EQ(names.find(views[i]), i);
  EXPECT_EQ(names.find("set9999-9999end"), std::nullopt);
}

TEST(ActionNamesTest, MoreAreRefused) {
  const std::vector<std::string_view> views(ActionNames::kMost + 1, "walk");
  EXPECT_THROW(ActionNames{views}, std::length_error);
}

}  // namespace
}  // namespace vemo
