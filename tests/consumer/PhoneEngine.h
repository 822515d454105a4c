#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "bridge/KOBUCloud.h"
#include "platform/MainThreadQueue.h"
#include "testing/NullEngine.h"

/// The thread on which a phone's media library calls back.
class EngineThread {
 public:
  EngineThread()
      : thread_([this] {
          work_.bindToThisThread();
          work_.run();
        }) {}
  ~EngineThread() {
    work_.stop();
    thread_.join();
    work_.bindToThisThread();
  }
  EngineThread(const EngineThread&) = delete;
  EngineThread& operator=(const EngineThread&) = delete;

  void queue(std::function<void()> task) { work_.dispatchAsync(std::move(task)); }

  /// Returns when what is queued now has run; on the thread itself, at once.
  void finish() {
    if (std::this_thread::get_id() == thread_.get_id()) return;
    std::promise<void> done;
    work_.dispatchAsync([&] { done.set_value(); });
    done.get_future().wait();
  }

 private:
  vemo::MainThreadQueue work_;
  std::thread thread_;  // last: it uses the queue
};

/// Operations come on any thread and return at once; all that follows from them happens on the
/// engine's thread, so that events come one at a time and no state needs a lock. What is not
/// overridden does nothing.
class PhoneEngine final : public vemo::NullKOBUCloud,
                          public std::enable_shared_from_this<PhoneEngine> {
 public:
  explicit PhoneEngine(std::shared_ptr<EngineThread> thread) : thread_(std::move(thread)) {}

  void setDelegate(std::shared_ptr<vemo::KOBUCloudDelegate> delegate) override {
    const std::lock_guard lock(mutex_);
    delegate_ = delegate;
  }

  void enterRoom(const vemo::KOBUParams& params, std::int64_t) override {
    later([isSigned = !params.userSig.value_or("").empty()](PhoneEngine& engine) {
      engine.isInRoom_ = isSigned;
      if (!isSigned) engine.tell(&Delegate::onError, kNotSigned, "no userSig", std::nullopt);
      engine.tell(&Delegate::onEnterRoom, isSigned ? 1 : kNotSigned);
    });
  }
  void exitRoom() override {
    later([](PhoneEngine& engine) {
      if (std::exchange(engine.isInRoom_, false)) engine.tell(&Delegate::onExitRoom, 0);
    });
  }
  void switchRole(std::int32_t) override {
    later([](PhoneEngine& engine) { engine.tell(&Delegate::onSwitchRole, 0, ""); });
  }

  // The view is kept for as long as the camera is shown in it.
  void startLocalPreview(bool, std::shared_ptr<vemo::NativeView> view) override {
    later(
        [view = std::move(view)](PhoneEngine& engine) mutable { engine.view_ = std::move(view); });
  }
  void stopLocalPreview() override {
    later([](PhoneEngine& engine) { engine.view_.reset(); });
  }

  void setAudioCaptureVolume(std::int32_t volume) override { captureVolume_ = volume; }
  std::int32_t getAudioCaptureVolume() override { return captureVolume_; }
  void setAudioPlayoutVolume(std::int32_t volume) override { playoutVolume_ = volume; }
  std::int32_t getAudioPlayoutVolume() override { return playoutVolume_; }

  void startSpeedTest(std::uint32_t, const std::string&, const std::string&,
                      SpeedTestCompletion completion) override {
    later([completion = std::move(completion)](PhoneEngine&) {
      if (completion) completion(std::make_shared<vemo::KOBUSpeedTestResult>(), 1, 1);
    });
  }

  void startScreenCaptureInApp(const vemo::KOBUVideoEncParam&) override {
    later([](PhoneEngine& engine) { engine.tell(&Delegate::onScreenCaptureStarted); });
  }
  std::int64_t stopScreenCapture() override {
    later([](PhoneEngine& engine) { engine.tell(&Delegate::onScreenCaptureStoped, 0); });
    return 0;
  }

 private:
  using Delegate = vemo::KOBUCloudDelegate;
  static constexpr std::int32_t kNotSigned = -1;

  /// Whoever lets go of the engine has nothing more of it: what waits is dropped then.
  template <class Work>
  void later(Work work) {
    thread_->queue([self = weak_from_this(), work = std::move(work)]() mutable {
      if (const auto engine = self.lock()) work(*engine);
    });
  }

  /// No lock is held while the delegate is called, as it may call the engine.
  template <class... Parameters, class... Arguments>
  void tell(void (Delegate::*event)(Parameters...), Arguments&&... arguments) {
    std::shared_ptr<Delegate> delegate;
    {
      const std::lock_guard lock(mutex_);
      delegate = delegate_.lock();
    }
    if (delegate) ((*delegate).*event)(std::forward<Arguments>(arguments)...);
  }

  const std::shared_ptr<EngineThread> thread_;
  std::mutex mutex_;
  std::weak_ptr<Delegate> delegate_;
  std::atomic<std::int32_t> captureVolume_ = 100, playoutVolume_ = 100;
  bool isInRoom_ = false;  // on the engine's thread, as what follows
  std::shared_ptr<vemo::NativeView> view_;
};

/// Owns the thread, so that an engine may end in one of its own events.
class PhoneEngineClass final : public vemo::NullKOBUCloudClass {
 public:
  std::shared_ptr<vemo::KOBUCloud> sharedInstance() override {
    const std::lock_guard lock(mutex_);
    if (!instance_) instance_ = std::make_shared<PhoneEngine>(thread_);
    return instance_;
  }
  void destroySharedIntance() override {
    {
      const std::lock_guard lock(mutex_);
      instance_.reset();
    }
    thread_->finish();  // an event under way elsewhere was the last
  }

  EngineThread& thread() { return *thread_; }

 private:
  const std::shared_ptr<EngineThread> thread_ = std::make_shared<EngineThread>();
  std::mutex mutex_;
  std::shared_ptr<PhoneEngine> instance_;
};
