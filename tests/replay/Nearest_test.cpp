#include "replay/Nearest.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace vemo::replay {
namespace {

const std::vector<std::string_view> kVerbs{"device", "command", "event", "listener", "new", "get"};

TEST(NearestName, FindsWhatASlipWasMeantFor) {
  EXPECT_EQ(nearestName("comand", kVerbs), "command") << "left out";
  EXPECT_EQ(nearestName("eventt", kVerbs), "event") << "added";
  EXPECT_EQ(nearestName("divice", kVerbs), "device") << "replaced";
  EXPECT_EQ(nearestName("listenre", kVerbs), "listener") << "swapped";
  EXPECT_EQ(nearestName("COMMAND", kVerbs), "command") << "of another case";
  EXPECT_EQ(nearestName("net", kVerbs), "new") << "the first of two";
  EXPECT_EQ(nearestName("gte", kVerbs), "get");
}

TEST(NearestName, FindsNothingThatIsFar) {
  EXPECT_EQ(nearestName("weather", kVerbs), "");
  EXPECT_EQ(nearestName("", kVerbs), "");
  EXPECT_EQ(nearestName("gx", kVerbs), "") << "half of it is wrong";
  EXPECT_EQ(nearestName("comm", kVerbs), "");
  EXPECT_EQ(nearestName("command", {}), "");
  EXPECT_EQ(nearestName("x", {"", "y"}), "") << "nothing of it is right";
  EXPECT_EQ(nearestName(std::string(1'000'000, 'x'), kVerbs), "");
}

TEST(DidYouMean, SaysItOrNothing) {
  EXPECT_EQ(didYouMean("evnt", kVerbs), "; did you mean \"event\"?");
  EXPECT_EQ(didYouMean("weather", kVerbs), "");
}

}  // namespace
}  // namespace vemo::replay
