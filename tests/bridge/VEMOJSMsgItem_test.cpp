#include "bridge/VEMOJSMsgItem.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

namespace {

std::atomic<long>& liveBlocks() {
  static constinit std::atomic<long> count = 0;
  return count;
}

}  // namespace

// Every block of this program is counted, whoever asks for it.
void* operator new(std::size_t size) {
  if (void* block = std::malloc(size == 0 ? 1 : size)) {
    ++liveBlocks();
    return block;
  }
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept {
  if (block) --liveBlocks();
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace vemo {
namespace {

TEST(VEMOJSMsgItem, TheFirstReturnValueLivesInTheArena) {
  VEMOJSMsgItem item;
  const auto arena = item.arena();
  EXPECT_NE(*arena, *boost::json::storage_ptr());
  boost::json::object value(2, item.arena());
  item.setMsgRetval(std::move(value));
  EXPECT_EQ(*item.msgRetval()->storage(), *arena);
}

TEST(VEMOJSMsgItem, AnItemThatIsAnsweredForEverDoesNotGrow) {
  VEMOJSMsgItem item;
  const auto answer = [&](int number) {
    boost::json::object value(2, item.arena());
    value.emplace("userId", std::string(100, 'u'));
    value.emplace("elapsed", number);
    item.setMsgRetval(std::move(value));
    item.setMsgError({"KOBU", number, std::string(100, 'x')});
  };
  answer(0);
  answer(1);
  const auto before = liveBlocks().load();
  for (int i = 2; i < 100'000; ++i) answer(i);
  EXPECT_EQ(liveBlocks().load(), before);
  EXPECT_EQ(item.msgRetval()->at("elapsed").as_int64(), 99'999);
  EXPECT_EQ(item.msgError()->errcode, 99'999);
}

}  // namespace
}  // namespace vemo
