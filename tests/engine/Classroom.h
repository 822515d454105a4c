#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "MediaServer.h"
#include "Senses.h"
#include "engine/JanusEngine.h"
#include "testing/Arrivals.h"
#include "testing/RecordingDelegate.h"

namespace vemo {

/// Somebody with an engine: what it sees of whom, what it hears, what it is told.
class Person {
 public:
  explicit Person(std::string name, EngineOptions options) : name_(std::move(name)) {
    options.onPlayed = [heard = heard_](const std::int16_t* values, std::size_t count) {
      heard->hear(values, count);
    };
    class_ = std::make_unique<JanusEngineClass>(std::move(options));
    engine_ = class_->sharedInstance();
    engine_->setDelegate(told);
  }

  KOBUCloud* operator->() const { return engine_.get(); }
  HeardSound& heard() { return *heard_; }
  const std::string& name() const { return name_; }
  JanusEngineClass& engineClass() { return *class_; }

  Person& enter(std::int32_t role = kKOBURoleAnchor, std::uint32_t room = 7) {
    auto params = MediaServer::params(name_, room);
    params.role = role;
    engine_->enterRoom(params, 0);
    return *this;
  }
  /// Enters with camera and microphone.
  Person& enterSending() {
    enter();
    engine_->startLocalPreview(true, nullptr);
    engine_->startLocalAudio(2);
    return *this;
  }
  void entered() { told->waitFor("onEnterRoom"); }

  const std::shared_ptr<RecordingDelegate> told = std::make_shared<RecordingDelegate>();

 private:
  const std::string name_;
  const std::shared_ptr<HeardSound> heard_ = std::make_shared<HeardSound>();
  std::unique_ptr<JanusEngineClass> class_;
  std::shared_ptr<KOBUCloud> engine_;
};

}  // namespace vemo
