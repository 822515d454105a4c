#include "classroom/VideoCanvas.h"

#include <gtest/gtest.h>

#include "platform/MainThreadQueue.h"

namespace vemo {
namespace {

TEST(PlacesTest, AreReadAsThePageTellsThem) {
  const auto places =
      placesFrom(R"({"views":[{"name":"Ada/0","box":[1,2.5,30,40],"radius":"20px 10px 0px 5px",)"
                 R"("clip":[0,0,100,50]},{"name":"Ben/2","box":[0,0,1,1],"radius":"4px"}],)"
                 R"("above":[{"box":[5,6,7,8],"radius":3}]})");
  ASSERT_TRUE(places);
  ASSERT_EQ(places->views.size(), 2U);
  EXPECT_EQ(places->views[0].name, "Ada/0");
  EXPECT_EQ(places->views[0].box.top, 2.5);
  EXPECT_EQ(places->views[0].box.height, 40);
  EXPECT_EQ(places->views[0].radius, (Corners{20, 10, 0, 5}));
  ASSERT_TRUE(places->views[0].clip);
  EXPECT_EQ(places->views[0].clip->width, 100);
  EXPECT_EQ(places->views[1].radius, (Corners{4, 4, 4, 4}));
  EXPECT_FALSE(places->views[1].clip);
  ASSERT_EQ(places->above.size(), 1U);
  EXPECT_EQ(places->above[0].radius, 3);
}

TEST(PlacesTest, WhatIsNoneIsNotUsed) {
  for (const char* text : {"", "[]", "{}", R"({"views":[]})", R"({"views":[1],"above":[]})",
                           R"({"views":[{"name":"a/0"}],"above":[]})",
                           R"({"views":[{"name":"a/0","box":[1,2,3]}],"above":[]})",
                           R"({"views":[{"name":"a/0","box":[1,2,3,"4"]}],"above":[]})",
                           R"({"views":[{"name":7,"box":[1,2,3,4]}],"above":[]})",
                           R"({"views":[],"above":[{"radius":3}]})"}) {
    EXPECT_FALSE(placesFrom(text)) << text;
  }
}

TEST(VideoCanvasTest, AUsersViewIsTheSameAsLongAsItIsUsed) {
  MainThreadQueue queue;
  const auto canvas = std::make_shared<VideoCanvas>(queue);
  EXPECT_EQ(canvas->renderViewOf(Text(), ViewType::camera), nullptr);
  EXPECT_EQ(canvas->renderViewOf(Text(""), ViewType::camera), nullptr);
  auto view = canvas->renderViewOf(Text("Ada"), ViewType::camera);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(canvas->renderViewOf(Text("Ada"), ViewType::camera), view);
  EXPECT_NE(canvas->renderViewOf(Text("Ada"), ViewType::subStream), view);
  EXPECT_NE(canvas->renderViewOf(Text("Ben"), ViewType::camera), view);
}

}  // namespace
}  // namespace vemo
