#include "engine/ServerList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace vemo::janus {
namespace {

const std::vector<std::string> kServers{"ws://a:1", "ws://b:1", "ws://c:1"};

std::string room(int number) { return "1400000001-" + std::to_string(number); }

TEST(ServerList, IsReadALineEach) {
  EXPECT_EQ(serversIn("# ours\n ws://a:1 \r\n\nws://b:1\nws://a:1"),
            (std::vector<std::string>{"ws://a:1", "ws://b:1"}));
  EXPECT_TRUE(serversIn("").empty());
}

TEST(ServerList, PutsARoomOnTheSameServerInWhateverOrderTheyStand) {
  auto turned = kServers;
  std::reverse(turned.begin(), turned.end());
  for (int i = 1; i < 100; ++i) EXPECT_EQ(serverOf(kServers, room(i)), serverOf(turned, room(i)));
}

TEST(ServerList, SpreadsTheRooms) {
  std::map<std::string, int> rooms;
  for (int i = 1; i <= 3000; ++i) ++rooms[serverOf(kServers, room(i))];
  ASSERT_EQ(rooms.size(), 3U);
  for (const auto& [server, count] : rooms) {
    EXPECT_GT(count, 800) << server;
    EXPECT_LT(count, 1200) << server;
  }
}

TEST(ServerList, AServerTakenOffMovesOnlyItsOwnRooms) {
  const std::vector<std::string> fewer{"ws://a:1", "ws://c:1"};
  int moved = 0;
  for (int i = 1; i <= 1000; ++i) {
    const auto before = serverOf(kServers, room(i));
    const auto after = serverOf(fewer, room(i));
    if (before == "ws://b:1") {
      ++moved;
    } else {
      EXPECT_EQ(after, before);
    }
  }
  EXPECT_GT(moved, 0);
}

TEST(ServerList, HasNoServerWhenThereIsNone) { EXPECT_EQ(serverOf({}, room(1)), ""); }

}  // namespace
}  // namespace vemo::janus
