#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Folder.h"
#include "ShortMemory.h"
#include "ShortSession.h"
#include "platform/JsonLineLogger.h"
#include "platform/MainThreadQueue.h"
#include "platform/Subscriptions.h"

// Each allocation that a router makes in a session fails once, one after another, with
// std::bad_alloc. Then what goes on at that moment, an act, is done or not done, and the rest of
// the session is that of one in which nothing failed: with the act, or without it.

namespace vemo::test {
namespace {

std::vector<Act> session(std::size_t without = Act::kNone) {
  ShortSession session;
  return session.play(without);
}

/// Those of `effects` that begin so.
std::vector<std::string> only(const std::vector<std::string>& effects, std::string_view beginning) {
  std::vector<std::string> found;
  std::ranges::copy_if(effects, std::back_inserter(found),
                       [&](const auto& effect) { return effect.starts_with(beginning); });
  return found;
}

class Acts {
 public:
  explicit Acts(std::vector<Act> acts) : acts_(std::move(acts)) {}

  const Act& operator[](std::size_t number) const { return acts_[number]; }

  /// That in which an allocation failed; nothing when none did.
  std::optional<std::size_t> failed() const {
    const auto found = std::ranges::find_if(acts_, &Act::failed);
    if (found == acts_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - acts_.begin());
  }

  /// Whether `number` is what comes of `cause`, or that itself.
  bool comesOf(std::size_t number, std::size_t cause) const {
    while (number > cause && number != Act::kNone) number = acts_[number].cause;
    return number == cause;
  }

  /// What happens in `act` and in all that comes of it.
  std::vector<std::string> effectsOf(std::size_t act) const {
    return effects([&](std::size_t number) { return comesOf(number, act); });
  }
  /// What happens later, but for what comes of `act`.
  std::vector<std::string> effectsAfter(std::size_t act) const {
    return effects([&](std::size_t number) { return number > act && !comesOf(number, act); });
  }

 private:
  template <class Of>
  std::vector<std::string> effects(Of isOf) const {
    std::vector<std::string> all;
    for (std::size_t number = 0; number < acts_.size(); ++number) {
      if (isOf(number)) std::ranges::copy(acts_[number].effects, std::back_inserter(all));
    }
    return all;
  }

  std::vector<Act> acts_;
};

/// The first effect in which they differ.
std::string difference(const std::vector<std::string>& is, const std::vector<std::string>& was) {
  const auto [here, there] = std::ranges::mismatch(is, was);
  return (here == is.end() ? "nothing" : *here) + " instead of " +
         (there == was.end() ? "nothing" : *there);
}

class ShortMemoryTest : public testing::Test {
 protected:
  /// What is wrong with a session in which something failed in `failed`; empty when nothing is.
  std::string verdict(const Acts& is, std::size_t failed) {
    const auto calls = only(is[failed].effects, "engine ");
    const auto wholeCalls = only(whole_[failed].effects, "engine ");
    if (!calls.empty() && calls != wholeCalls)
      return "half of the engine's calls: " + difference(calls, wholeCalls);
    // An event that did not arrive answers nobody.
    constexpr auto answering =
        std::to_array<std::string_view>({"command ", "granted", "pressed", "downloaded", "decoded",
                                         "music ", "speed test", "task"});
    const bool answers = std::ranges::any_of(answering, [&](std::string_view beginning) {
      return is[failed].name.starts_with(beginning);
    });
    if (answers && !is[failed].threw && only(is.effectsOf(failed), "script reply(").empty() &&
        !only(whole_.effectsOf(failed), "script reply(").empty())
      return "no answer";
    const auto rest = is.effectsAfter(failed);
    if (rest == whole_.effectsAfter(failed)) return "";
    const auto told = only(is[failed].effects, "completion ");
    if (!told.empty() && told == only(whole_[failed].effects, "completion "))
      return "somebody was told, but the rest is not as if it were done: " +
             difference(rest, whole_.effectsAfter(failed));
    auto& without = without_[failed];
    if (!without) without.emplace(session(failed));
    const auto asIfNot = without->effectsAfter(failed);
    if (rest == asIfNot) return "";
    return "the rest is neither as if it were done: " +
           difference(rest, whole_.effectsAfter(failed)) +
           "\n  nor as if it were not: " + difference(rest, asIfNot);
  }

  const Acts whole_{session()};

 private:
  std::map<std::size_t, std::optional<Acts>> without_;
};

TEST_F(ShortMemoryTest, ASessionGoesOnWhicheverAllocationFails) {
  long allocation = 1;
  for (;; ++allocation) {
    const auto before = ShortMemory::blocks();
    ShortMemory::failAt(allocation);
    const Acts acts(session());
    ShortMemory::failAt(0);
    const auto kept = ShortMemory::blocks();
    const auto failed = acts.failed();
    if (!failed) break;
    auto copy = std::optional(acts);
    EXPECT_EQ(ShortMemory::blocks() - kept, kept - before) << "not all is given back";
    copy.reset();
    const auto what = verdict(acts, *failed);
    EXPECT_EQ(what, "") << "allocation " << allocation << " in act " << *failed << ", "
                        << acts[*failed].name;
  }
  RecordProperty("allocations", std::to_string(allocation - 1));
  EXPECT_GT(allocation, 500) << "hardly anything was tried";
}

TEST(ShortMemory, ARouterIsMadeOrNotMade) {
  long allocation = 1;
  for (bool failed = true; failed; ++allocation) {
    const auto before = ShortMemory::blocks();
    {
      ShortSession session;
      ShortMemory::failAt(allocation);
      bool threw = false;
      try {
        const ShortMemory::Counting counting;
        session.create();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      failed = ShortMemory::hasFailed();
      ShortMemory::failAt(0);
      ASSERT_EQ(threw, failed) << "allocation " << allocation;
      EXPECT_EQ(session.isSubscribed(), !failed);
    }
    EXPECT_EQ(ShortMemory::blocks(), before) << "not all is given back";
  }
  EXPECT_GT(allocation, 20) << "hardly anything was tried";
}

TEST(ShortMemory, ALoggerThrowsNothingAndSaysHowManyLinesItLost) {
  const Folder folder;
  JsonLineLoggerOptions options;
  options.file = folder.file("log.jsonl");
  auto logger = JsonLineLogger::create(options);
  ASSERT_TRUE(logger);
  DUNLogParam record;
  record.actionName = "anAction";
  record.actionParam = R"({"userSig":"secret"})";
  std::size_t logged = 0;
  for (bool failed = true; failed; ++logged) {
    ShortMemory::failAt(static_cast<long>(logged) + 1);
    {
      const ShortMemory::Counting counting;
      logger->log(record);
    }
    failed = ShortMemory::hasFailed();
  }
  ShortMemory::failAt(0);
  logger.reset();
  std::size_t written = 0;
  std::size_t lost = 0;
  std::ifstream lines(options.file);
  for (std::string line; std::getline(lines, line);) {
    const auto members = boost::json::parse(line).as_object();
    if (const auto* dropped = members.if_contains("dropped")) {
      lost += dropped->to_number<std::size_t>();
    } else {
      ++written;
    }
  }
  EXPECT_GT(lost, 1U) << "hardly anything was tried";
  EXPECT_EQ(written + lost, logged);
}

TEST(ShortMemory, AQueueTakesATaskOrNotAndEndsWithoutAny) {
  for (long allocation = 1;; ++allocation) {
    auto queue = std::make_unique<MainThreadQueue>();
    int done = 0;
    int dispatched = 0;
    const std::string text(100, 'x');  // a task that takes memory
    for (int task = 0; task < 100; ++task) {
      if (task == 50) ShortMemory::failAt(allocation);
      try {
        const ShortMemory::Counting counting;
        queue->dispatchAsync([&done, text] { ++done; });
        ++dispatched;
      } catch (const std::bad_alloc&) {
        EXPECT_TRUE(ShortMemory::hasFailed());
      }
    }
    const bool failed = ShortMemory::hasFailed();
    EXPECT_EQ(dispatched, failed ? 99 : 100);
    ShortMemory::failAt(0);
    while (queue->drain() > 0) {
    }
    EXPECT_EQ(done, dispatched);
    queue->dispatchAsync([&done] { ++done; });
    ShortMemory::failAt(1);
    {
      const ShortMemory::Counting counting;
      queue.reset();  // would end the process
    }
    EXPECT_FALSE(ShortMemory::hasFailed());
    ShortMemory::failAt(0);
    if (!failed) break;
  }
}

TEST(ShortMemory, ASubscriptionEndsWithoutAny) {
  Subscriptions subscriptions;
  int observer = 0;
  for (const auto* name : {"a", "b"}) subscriptions.add(&observer, name, [](const auto&) {});
  ShortMemory::failAt(1);
  {
    const ShortMemory::Counting counting;
    subscriptions.removeEvery(&observer);
  }
  EXPECT_FALSE(ShortMemory::hasFailed());
  ShortMemory::failAt(0);
}

}  // namespace
}  // namespace vemo::test
