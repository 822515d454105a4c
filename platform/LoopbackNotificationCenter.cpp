#include "platform/LoopbackNotificationCenter.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Subscriptions.h"

namespace vemo {

class LoopbackNotificationCenter::Delivery {
 public:
  Subscriptions subscriptions;

  static void post(const std::shared_ptr<Delivery>& self, const std::string& name) {
    const std::lock_guard lock(self->mutex_);
    self->pending_.push_back(name);
    if (!self->thread_.joinable()) self->thread_ = std::thread([self] { self->deliver(); });
    self->changed_.notify_one();
  }

  void stop() {
    subscriptions.clear();  // nothing more is called, wherever the thread is
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
      changed_.notify_one();
    }
    if (!thread_.joinable()) return;
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  void deliver() {
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopping_ || !pending_.empty(); });
      if (stopping_) return;
      const auto name = std::move(pending_.front());
      pending_.pop_front();
      lock.unlock();
      subscriptions.call(name);
      lock.lock();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::string> pending_;
  bool stopping_ = false;
  std::thread thread_;
};

LoopbackNotificationCenter::LoopbackNotificationCenter()
    : delivery_(std::make_shared<Delivery>()) {}

LoopbackNotificationCenter::~LoopbackNotificationCenter() { delivery_->stop(); }

void LoopbackNotificationCenter::post(const std::string& name) { Delivery::post(delivery_, name); }

void LoopbackNotificationCenter::addObserver(const void* observer, const std::string& name,
                                             Callback callback) {
  delivery_->subscriptions.add(observer, name, std::move(callback));
}

void LoopbackNotificationCenter::removeObserver(const void* observer, const std::string& name) {
  delivery_->subscriptions.remove(observer, name);
}

void LoopbackNotificationCenter::removeEveryObserver(const void* observer) {
  delivery_->subscriptions.removeEvery(observer);
}

}  // namespace vemo
