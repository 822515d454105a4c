#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "json/RecordMapper.h"
#include "platform/ForwardingEngine.h"
#include "platform/ForwardingPlatform.h"
#include "testing/NullEngine.h"

// Each operation of a forwarder reaches the operation of the same name, with its arguments in
// their order, and gives its result back. A target notes what reaches it; each operation is
// called there and through the forwarder, and both times the same must be noted.

namespace vemo {
namespace {

// ---- Text of what is given

std::string text(const std::string& given) { return given; }
std::string text(const Text& given) { return given.value_or("(absent)"); }
std::string text(const std::optional<boost::json::object>& given) { return jsonText(*given); }
template <class Number>
requires std::is_arithmetic_v<Number> std::string text(Number given) {
  return std::to_string(given);
}
template <HasFields Record>
std::string text(const Record& given) {
  return jsonText(dictionaryFrom(given));
}
template <HasFields Record>
std::string text(const Record* given) {
  return text(*given);
}
template <class Object>
std::string text(const Object* given) {
  return std::to_string(reinterpret_cast<std::uintptr_t>(given));
}
template <class Object>
std::string text(const std::shared_ptr<Object>& given) {
  return text(static_cast<const void*>(given.get()));
}

// ---- What is given: never the same twice, save that truth values take turns

class Samples {
 public:
  template <class Value>
  Value next() {
    ++number_;
    if constexpr (std::is_same_v<Value, bool>) {
      return number_ % 2 != 0;
    } else if constexpr (std::is_arithmetic_v<Value>) {
      return static_cast<Value>(number_);
    } else if constexpr (std::is_same_v<Value, std::string> || std::is_same_v<Value, Text>) {
      return "text " + std::to_string(number_);
    } else {
      return special(std::type_identity<Value>());
    }
  }

  /// What the callbacks that were given were called for.
  std::vector<std::string> takeCalled() { return std::exchange(*called_, {}); }

 private:
  template <class Object>
  auto special(std::type_identity<std::shared_ptr<Object>> /*wanted*/) {
    if constexpr (std::is_same_v<Object, KOBUCloudDelegate>) {
      return std::shared_ptr<Object>(std::make_shared<NullKOBUCloudDelegate>());
    } else {
      return std::make_shared<Object>();
    }
  }
  template <class... Args>
  auto special(std::type_identity<std::function<void(Args...)>> /*wanted*/) {
    return [called = called_, number = number_](Args...) {
      called->push_back("callback " + std::to_string(number));
    };
  }
  auto special(std::type_identity<std::optional<boost::json::object>> /*wanted*/) {
    return std::optional(boost::json::object{{"number", number_}});
  }
  template <class Record>
  auto special(std::type_identity<const Record*> /*wanted*/) {
    static Record record;
    record = next<Record>();
    return &record;
  }
  template <class Record>
  requires requires { Fields<Record>::table; }
  Record special(std::type_identity<Record> /*wanted*/) {
    Record record;
    std::apply([&](const auto&... field) { (fill(record, field), ...); }, Fields<Record>::table);
    return record;
  }
  template <class Record, class Field>
  void fill(Record& record, const Field& field) {
    auto& member = record.*(field.member);
    using Member = std::remove_reference_t<decltype(member)>;
    if constexpr (std::is_arithmetic_v<Member>) member = next<Member>();
  }

  int number_ = 0;
  const std::shared_ptr<std::vector<std::string>> called_ =
      std::make_shared<std::vector<std::string>>();
};

// ---- Where it arrives

/// What reached a target, a text each.
class Notes {
 public:
  template <class... Given>
  std::int32_t add(std::string_view operation, const Given&... given) {
    lines_.emplace_back(operation);
    (lines_.push_back(text(given)), ...);
    return static_cast<std::int32_t>(std::hash<std::string_view>()(operation));
  }
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
};

struct MusicTarget final : PWAudioEffectManager, Notes {
  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    add("startPlayMusic", music);
    onStart(0);
    onProgress(0, 0);
    onComplete(0);
  }
  void stopPlayMusic(std::int32_t id) override { add("stopPlayMusic", id); }
  void pausePlayMusic(std::int32_t id) override { add("pausePlayMusic", id); }
  void resumePlayMusic(std::int32_t id) override { add("resumePlayMusic", id); }
  void seekMusicToPosInMS(std::int32_t id, std::int32_t position) override {
    add("seekMusicToPosInMS", id, position);
  }
  void setAllMusicVolume(std::int32_t volume) override { add("setAllMusicVolume", volume); }
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override {
    add("setMusicPlayoutVolume", id, volume);
  }
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override {
    add("setMusicPublishVolume", id, volume);
  }
};

struct DeviceTarget final : KOBUDeviceManager, Notes {
  std::int32_t switchCamera(bool front) override { return add("switchCamera", front); }
};

struct EngineTarget final : KOBUCloud, Notes {
  void setDelegate(std::shared_ptr<KOBUCloudDelegate> to) override { add("setDelegate", to); }
  void enterRoom(const KOBUParams& params, std::int64_t scene) override {
    add("enterRoom", params, scene);
  }
  void exitRoom() override { add("exitRoom"); }
  void switchRole(std::int32_t role) override { add("switchRole", role); }
  void setDefaultStreamRecvMode(bool audio, bool video) override {
    add("setDefaultStreamRecvMode", audio, video);
  }
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override {
    add("setNetworkQosParam", param);
  }
  void startLocalPreview(bool front, std::shared_ptr<NativeView> view) override {
    add("startLocalPreview", front, view);
  }
  void stopLocalPreview() override { add("stopLocalPreview"); }
  void muteLocalVideo(bool mute) override { add("muteLocalVideo", mute); }
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override {
    add("setVideoMuteImage", image, fps);
  }
  void setLocalRenderParams(const KOBURenderParams& params) override {
    add("setLocalRenderParams", params);
  }
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override {
    add("setVideoEncoderParam", param);
  }
  void setVideoEncoderRotation(std::int32_t rotation) override {
    add("setVideoEncoderRotation", rotation);
  }
  void setVideoEncoderMirror(bool mirror) override { add("setVideoEncoderMirror", mirror); }
  void setGSensorMode(std::int32_t mode) override { add("setGSensorMode", mode); }
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override {
    add("enableEncSmallVideoStream", enable, quality);
  }
  void startLocalAudio(std::int32_t quality) override { add("startLocalAudio", quality); }
  void stopLocalAudio() override { add("stopLocalAudio"); }
  void muteLocalAudio(bool mute) override { add("muteLocalAudio", mute); }
  void setAudioRoute(std::int32_t route) override { add("setAudioRoute", route); }
  void setAudioCaptureVolume(std::int32_t volume) override { add("setAudioCaptureVolume", volume); }
  std::int32_t getAudioCaptureVolume() override { return add("getAudioCaptureVolume"); }
  void setAudioPlayoutVolume(std::int32_t volume) override { add("setAudioPlayoutVolume", volume); }
  std::int32_t getAudioPlayoutVolume() override { return add("getAudioPlayoutVolume"); }
  void enableAudioVolumeEvaluation(std::int32_t interval) override {
    add("enableAudioVolumeEvaluation", interval);
  }
  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override {
    add("startRemoteView", userId, streamType, view);
  }
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override {
    add("stopRemoteView", userId, streamType);
  }
  void stopAllRemoteView() override { add("stopAllRemoteView"); }
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override {
    add("setRemoteVideoStreamType", userId, type);
  }
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override {
    add("setRemoteRenderParams", userId, streamType, params);
  }
  void muteRemoteVideoStream(const std::string& userId, bool mute) override {
    add("muteRemoteVideoStream", userId, mute);
  }
  void muteAllRemoteVideoStreams(bool mute) override { add("muteAllRemoteVideoStreams", mute); }
  void muteRemoteAudio(const std::string& userId, bool mute) override {
    add("muteRemoteAudio", userId, mute);
  }
  void muteAllRemoteAudio(bool mute) override { add("muteAllRemoteAudio", mute); }
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override {
    add("setRemoteAudioVolume", userId, volume);
  }
  PWAudioEffectManager& getAudioEffectManager() override {
    add("getAudioEffectManager");
    return music_;
  }
  KOBUDeviceManager& getDeviceManager() override {
    add("getDeviceManager");
    return devices_;
  }
  void startSpeedTest(std::uint32_t application, const std::string& userId,
                      const std::string& userSig, SpeedTestCompletion completion) override {
    add("startSpeedTest", application, userId, userSig);
    completion(nullptr, 0, 0);
  }
  void stopSpeedTest() override { add("stopSpeedTest"); }
  void callExperimentalAPI(const std::string& json) override { add("callExperimentalAPI", json); }
  void showDebugView(std::int32_t type) override { add("showDebugView", type); }
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override {
    add("setDebugViewMargin", userId, margin);
  }
  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override {
    add("startScreenCaptureInApp", param);
  }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override {
    add("startScreenCaptureByReplaykit", param, appGroup);
  }
  std::int64_t pauseScreenCapture() override { return add("pauseScreenCapture"); }
  std::int64_t resumeScreenCapture() override { return add("resumeScreenCapture"); }
  std::int64_t stopScreenCapture() override { return add("stopScreenCapture"); }

 private:
  NullPWAudioEffectManager music_;
  NullKOBUDeviceManager devices_;
};

struct ClassTarget final : KOBUCloudClass, Notes {
  std::string getSDKVersion() override { return std::to_string(add("getSDKVersion")); }
  std::shared_ptr<KOBUCloud> sharedInstance() override {
    add("sharedInstance");
    return instance_;
  }
  void destroySharedIntance() override { add("destroySharedIntance"); }
  void setLogLevel(std::int32_t level) override { add("setLogLevel", level); }
  void setConsoleEnabled(bool enabled) override { add("setConsoleEnabled", enabled); }
  void setLogCompressEnabled(bool enabled) override { add("setLogCompressEnabled", enabled); }
  void setLogDirPath(const std::string& path) override { add("setLogDirPath", path); }

 private:
  const std::shared_ptr<KOBUCloud> instance_ = std::make_shared<NullKOBUCloud>();
};

struct ListenerTarget final : VEMOKOBUEventListenerOf<ListenerTarget>, Notes {
  template <auto operation, class... Args>
  void heard(const Args&... args) {
    add(std::get<ListenerOperation<operation>>(listenerOperations).name, args...);
  }
};

struct DelegateTarget final : KOBUCloudDelegateOf<DelegateTarget>, Notes {
  template <auto operation, class... Args>
  void told(const Args&... args) {
    add(std::get<EngineEvent<operation>>(engineEvents).name, args...);
  }
};

// ---- The operations

using Music = PWAudioEffectManager;
constexpr std::tuple kMusic{&Music::startPlayMusic,        &Music::stopPlayMusic,
                            &Music::pausePlayMusic,        &Music::resumePlayMusic,
                            &Music::seekMusicToPosInMS,    &Music::setAllMusicVolume,
                            &Music::setMusicPlayoutVolume, &Music::setMusicPublishVolume};

constexpr std::tuple kDevice{&KOBUDeviceManager::switchCamera};

using Engine = KOBUCloud;
constexpr std::tuple kEngine{&Engine::setDelegate,
                             &Engine::enterRoom,
                             &Engine::exitRoom,
                             &Engine::switchRole,
                             &Engine::setDefaultStreamRecvMode,
                             &Engine::setNetworkQosParam,
                             &Engine::startLocalPreview,
                             &Engine::stopLocalPreview,
                             &Engine::muteLocalVideo,
                             &Engine::setVideoMuteImage,
                             &Engine::setLocalRenderParams,
                             &Engine::setVideoEncoderParam,
                             &Engine::setVideoEncoderRotation,
                             &Engine::setVideoEncoderMirror,
                             &Engine::setGSensorMode,
                             &Engine::enableEncSmallVideoStream,
                             &Engine::startLocalAudio,
                             &Engine::stopLocalAudio,
                             &Engine::muteLocalAudio,
                             &Engine::setAudioRoute,
                             &Engine::setAudioCaptureVolume,
                             &Engine::getAudioCaptureVolume,
                             &Engine::setAudioPlayoutVolume,
                             &Engine::getAudioPlayoutVolume,
                             &Engine::enableAudioVolumeEvaluation,
                             &Engine::startRemoteView,
                             &Engine::stopRemoteView,
                             &Engine::stopAllRemoteView,
                             &Engine::setRemoteVideoStreamType,
                             &Engine::setRemoteRenderParams,
                             &Engine::muteRemoteVideoStream,
                             &Engine::muteAllRemoteVideoStreams,
                             &Engine::muteRemoteAudio,
                             &Engine::muteAllRemoteAudio,
                             &Engine::setRemoteAudioVolume,
                             &Engine::getAudioEffectManager,
                             &Engine::getDeviceManager,
                             &Engine::startSpeedTest,
                             &Engine::stopSpeedTest,
                             &Engine::callExperimentalAPI,
                             &Engine::showDebugView,
                             &Engine::setDebugViewMargin,
                             &Engine::startScreenCaptureInApp,
                             &Engine::startScreenCaptureByReplaykit,
                             &Engine::pauseScreenCapture,
                             &Engine::resumeScreenCapture,
                             &Engine::stopScreenCapture};

using Class = KOBUCloudClass;
constexpr std::tuple kClass{&Class::getSDKVersion,        &Class::sharedInstance,
                            &Class::destroySharedIntance, &Class::setLogLevel,
                            &Class::setConsoleEnabled,    &Class::setLogCompressEnabled,
                            &Class::setLogDirPath};

constexpr auto kDelegate = std::apply(
    []<auto... operation>(const EngineEvent<operation>&...) { return std::tuple{operation...}; },
    engineEvents);

using Listener = VEMOKOBUEventListener;
constexpr auto kListener = std::apply(
    []<auto... operation>(const ListenerOperation<operation>&...) {
      return std::tuple{operation...};
    },
    listenerOperations);

/// Arguments for an operation.
template <class Interface, class Result, class... Args>
auto argumentsOf(Result (Interface::*)(Args...), Samples& samples) {
  return std::tuple<std::remove_cvref_t<Args>...>{samples.next<std::remove_cvref_t<Args>>()...};
}

/// Calls an operation; gives back the text of its result.
template <class Interface, class Result, class... Args, class Given>
std::string call(Interface& receiver, Result (Interface::*operation)(Args...), const Given& given) {
  return std::apply(
      [&](const auto&... args) -> std::string {
        if constexpr (std::is_void_v<Result>) {
          (receiver.*operation)(args...);
          return "(none)";
        } else if constexpr (std::is_reference_v<Result>) {
          return text(&(receiver.*operation)(args...));
        } else {
          return text((receiver.*operation)(args...));
        }
      },
      given);
}

/// Calls each operation at a target, and at a Forwarder that stands for it.
template <class Interface, class Target, class Forwarder, class... Operations>
void expectSame(const std::tuple<Operations...>& operations) {
  Target target;
  Forwarder forwarder(target);
  Samples samples;
  std::set<std::string> names;
  const auto compare = [&](auto operation) {
    const auto given = argumentsOf(operation, samples);
    const auto at = [&](auto& receiver) {
      std::vector<std::string> seen{call(receiver, operation, given)};
      for (auto& line : target.take()) seen.push_back(std::move(line));
      for (auto& line : samples.takeCalled()) seen.push_back(std::move(line));
      return seen;
    };
    const auto expected = at(static_cast<Interface&>(target));
    ASSERT_GE(expected.size(), 2U);
    names.insert(expected[1]);
    EXPECT_EQ(at(static_cast<Interface&>(forwarder)), expected);
  };
  std::apply([&](auto... operation) { (compare(operation), ...); }, operations);
  EXPECT_EQ(names.size(), sizeof...(Operations)) << "targets note two operations by one name";
}

TEST(Forwarding, EachOperationReachesItsNamesake) {
  expectSame<Music, MusicTarget, ForwardingPWAudioEffectManager>(kMusic);
  expectSame<KOBUDeviceManager, DeviceTarget, ForwardingKOBUDeviceManager>(kDevice);
  expectSame<Engine, EngineTarget, ForwardingKOBUCloud>(kEngine);
  expectSame<Class, ClassTarget, ForwardingKOBUCloudClass>(kClass);
  expectSame<KOBUCloudDelegate, DelegateTarget, ForwardingKOBUCloudDelegate>(kDelegate);
  expectSame<Listener, ListenerTarget, ForwardingVEMOKOBUEventListener>(kListener);
}

/// Has each of `operations` called at Target, and expects it to be noted by its own name.
template <class Interface, class Target, template <auto> class Operation, auto... operation>
void expectOwnNames(const std::tuple<Operation<operation>...>& operations) {
  Target target;
  Samples samples;
  const auto one = [&](auto called, std::string_view name) {
    call(static_cast<Interface&>(target), called, argumentsOf(called, samples));
    const auto seen = target.take();
    ASSERT_FALSE(seen.empty()) << name;
    EXPECT_EQ(seen.front(), name);
  };
  (one(operation, std::get<Operation<operation>>(operations).name), ...);
}

TEST(Each, OperationIsToldByItsOwnName) {
  expectOwnNames<KOBUCloudDelegate, DelegateTarget>(engineEvents);
  expectOwnNames<Listener, ListenerTarget>(listenerOperations);
}

template <class Value>
bool isKept(const Value& /*given*/) {
  return false;
}
template <class Object>
bool isKept(const std::shared_ptr<Object>& given) {
  return given.use_count() > 1;
}

/// Calls each operation at a double that does nothing.
template <class Interface, class Null, class... Operations>
void expectNothing(const std::tuple<Operations...>& operations) {
  Null null;
  Interface& receiver = null;
  Samples samples;
  int number = 0;
  const auto one = [&](auto operation) {
    const auto given = argumentsOf(operation, samples);
    ++number;
    const auto first = call(receiver, operation, given);
    EXPECT_EQ(call(receiver, operation, given), first) << "operation " << number;
    EXPECT_TRUE(samples.takeCalled().empty()) << "operation " << number;
    std::apply([&](const auto&... arg) { EXPECT_FALSE((isKept(arg) || ...)) << number; }, given);
  };
  std::apply([&](auto... operation) { (one(operation), ...); }, operations);
}

TEST(Null, NoOperationKeepsOrCallsWhatItIsGiven) {
  expectNothing<Music, NullPWAudioEffectManager>(kMusic);
  expectNothing<KOBUDeviceManager, NullKOBUDeviceManager>(kDevice);
  expectNothing<Engine, NullKOBUCloud>(kEngine);
  expectNothing<Class, NullKOBUCloudClass>(kClass);
  expectNothing<KOBUCloudDelegate, NullKOBUCloudDelegate>(kDelegate);
}

}  // namespace
}  // namespace vemo
