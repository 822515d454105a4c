#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "testing/NullEngine.h"

namespace vemo {

/// An engine that accepts everything and answers nothing; a test overrides what it looks
/// at and tells events through `delegate()`.
class FakeEngine : public NullKOBUCloud {
 public:
  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    const std::lock_guard lock(mutex_);
    delegate_ = delegate;
  }
  std::shared_ptr<KOBUCloudDelegate> delegate() const {
    const std::lock_guard lock(mutex_);
    return delegate_.lock();
  }

 private:
  mutable std::mutex mutex_;
  std::weak_ptr<KOBUCloudDelegate> delegate_;
};

/// The class of an engine made for a test: `Engine` is FakeEngine or derived from it.
template <class Engine>
class FakeClassOf : public NullKOBUCloudClass {
 public:
  using Make = std::function<std::shared_ptr<Engine>()>;

  /// Each instance is made by `make`, with a lock held.
  explicit FakeClassOf(Make make = [] { return std::make_shared<Engine>(); })
      : make_(std::move(make)) {}

  std::shared_ptr<KOBUCloud> sharedInstance() override {
    const std::lock_guard lock(mutex_);
    if (!instance_) instance_ = make_();
    return instance_;
  }
  void destroySharedIntance() override {
    std::shared_ptr<Engine> old;
    const std::lock_guard lock(mutex_);
    old.swap(instance_);
  }

  /// The present instance; null when there is none.
  std::shared_ptr<Engine> instance() const {
    const std::lock_guard lock(mutex_);
    return instance_;
  }

 private:
  const Make make_;
  mutable std::mutex mutex_;
  std::shared_ptr<Engine> instance_;
};

using FakeEngineClass = FakeClassOf<FakeEngine>;

}  // namespace vemo
