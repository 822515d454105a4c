#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Setting.h"
#include "StressedPhone.h"

// Pages, an engine, the user, downloads, music, the host and the broadcast extension, each on
// threads of their own, at routers that are made and let go all the time. VEMO_STRESS_OPERATIONS
// says how many things happen in all, VEMO_STRESS_SEED which.

namespace vemo::test {
namespace {

class Stress {
 public:
  Stress(std::uint64_t operations, std::uint64_t seed)
      : operations_(operations), seed_(seed), dice_(seed) {}

  void run() {
    for (auto& phone : living_) phone = add();
    using Act = std::function<bool(StressedPhone&, Dice&)>;
    const Act page = [](auto& phone, auto& dice) { return phone.pageSends(dice); };
    const std::vector<Act> acts{
        page,
        page,
        [](auto& phone, auto& dice) { return phone.engineTells(dice); },
        [](auto& phone, auto& dice) { return phone.permissions.doOne(dice()); },
        [](auto& phone, auto& dice) { return phone.downloads.doOne(dice()); },
        [](auto& phone, auto& dice) { return phone.music.doOne(dice()); },
        [](auto& phone, auto& dice) { return dice() % 16 == 0 && phone.notify(dice); },
        [](auto& phone, auto& dice) { return dice() % 4 == 0 && phone.hostActs(dice); }};
    std::vector<std::jthread> threads;
    for (const auto& act : acts) {
      threads.emplace_back([this, act, dice = Dice(seed_ + threads.size() + 1)](
                               const std::stop_token& stop) mutable { work(act, dice, stop); });
    }
    while (done_ < operations_) {
      for (const auto& phone : living_) phone->drain();
      if (dice_() % 16 == 0) replace(living_[dice_() % living_.size()]);
      forgetTheDone();
      nextRound();
    }
    for (auto& phone : living_) {
      end(phone, true);
      phone.reset();
    }
    while (!phones_.empty()) {  // no other thread changes how many there are
      forgetTheDone();
      nextRound();
    }
    for (auto& thread : threads) thread.request_stop();
    nextRound();
  }

  std::uint64_t routers() const { return routers_; }

 private:
  using PhonePtr = std::shared_ptr<StressedPhone>;
  static constexpr std::uint64_t kAhead = 512;  // so that the main thread keeps up

  void work(const auto& act, Dice& dice, const std::stop_token& stop) {
    for (;;) {
      const auto round = round_.load();  // first: a stop that is not seen yet brings another
      if (stop.stop_requested()) return;
      PhonePtr phone;
      {
        const std::lock_guard lock(mutex_);
        if (!phones_.empty()) phone = phones_[dice() % phones_.size()];
      }
      if (phone && done_ < allowed_ && act(*phone, dice)) {
        ++done_;
      } else {
        phone.reset();
        round_.wait(round);
      }
    }
  }

  // Those who found nothing to do, or were too far ahead, look again.
  void nextRound() {
    allowed_ = done_ + kAhead;
    ++round_;
    round_.notify_all();
    std::this_thread::yield();
  }

  PhonePtr add() {
    ++routers_;
    auto phone = std::make_shared<StressedPhone>();
    const std::lock_guard lock(mutex_);
    phones_.push_back(phone);
    return phone;
  }

  void replace(PhonePtr& phone) {
    end(phone, dice_() % 2 == 0);
    phone = add();
  }

  // With `inPeace` the page falls silent first, and all that is under way comes to its end.
  void end(const PhonePtr& phone, bool inPeace) {
    if (inPeace) {
      phone->silencePage();
      while (!phone->settled()) {
        phone->drain();
        nextRound();
      }
      phone->drain();
    }
    phone->letGo();
    while (!phone->isGone()) {  // until those have returned who are in it
      phone->drain();
      nextRound();
    }
    EXPECT_EQ(phone->verdict(inPeace), "") << "with seed " << seed_;
  }

  // Those whose router is gone stay until what they were asked for is done. They go on this thread.
  void forgetTheDone() {
    std::vector<PhonePtr> gone;
    const std::lock_guard lock(mutex_);
    std::erase_if(phones_, [&](PhonePtr& phone) {
      if (phone.use_count() > 1 || !phone->settled()) return false;
      EXPECT_EQ(phone->afterthoughts(), "") << "with seed " << seed_;
      gone.push_back(std::move(phone));
      return true;
    });
  }

  const std::uint64_t operations_, seed_;
  Dice dice_;
  std::atomic<std::uint64_t> done_ = 0, allowed_ = kAhead, round_ = 0;
  std::mutex mutex_;
  std::vector<PhonePtr> phones_;  // the living, and those that wait for their end
  std::array<PhonePtr, 4> living_;
  std::uint64_t routers_ = 0;
};

TEST(Stress, AnswersAreAsOftenAsPromisedAndNothingComesAfterTheEnd) {
  const auto operations = settingOr("VEMO_STRESS_OPERATIONS", 20'000);
  Stress stress(operations, settingOr("VEMO_STRESS_SEED", 1));
  stress.run();
  RecordProperty("routers", std::to_string(stress.routers()));
  EXPECT_GT(stress.routers(), 4U);
}

}  // namespace
}  // namespace vemo::test
