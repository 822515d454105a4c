#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>
#include "bridge/EngineCodes.h"
#include "json/JsonText.h"
#include "platform/JSMsgRouter.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "recorder/Recording.h"
#include "simulator/FakePage.h"
#include "simulator/Phone.h"
#include "simulator/PhoneScreen.h"
#include "simulator/PhoneServices.h"
#include "testing/Arrivals.h"
#include "testing/NullPlatform.h"

namespace vemo::test {

using boost::json::object;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Keeps the notes; the records of the router are not looked at here.
class NoteLogger final : public NullVEMOLogger {
 public:
  explicit NoteLogger(std::vector<std::string>& notes) : notes_(notes) {}

  void log(const DUNLogParam& record) override {
    if (record.actionName == "note") notes_.emplace_back(*record.actionParam);
  }

 private:
  std::vector<std::string>& notes_;
};

/// Downloads that end at once with these bytes.
class Bytes final : public DownloadService, public DownloadedFile {
 public:
  explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}
  bool isUrl(const std::string& text) const override { return !text.empty(); }
  void download(const std::string&, std::function<void(DownloadResult)> done) override {
    done({std::nullopt, std::make_shared<Bytes>(bytes_)});
  }
  std::optional<std::string> readAll() const override { return bytes_; }

 private:
  std::string bytes_;
};

/// The real decoder, waited for.
class PatientDecoder final : public ImageDecoder {
 public:
  explicit PatientDecoder(PixbufImageDecoder& decoder) : decoder_(decoder.forRequester()) {}
  void decode(std::string bytes, Done done) override {
    Arrivals<std::shared_ptr<VEMOImage>> images;
    decoder_->decode(std::move(bytes),
                     [&](std::shared_ptr<VEMOImage> image) { images.add(std::move(image)); });
    done(images.next().value_or(nullptr));
  }

 private:
  const std::unique_ptr<ImageDecoder> decoder_;
};

/// Decodes everything to one image of 600 by 300 pixels, the first ones ever redder, which it
/// does not keep.
class Panorama final : public ImageDecoder {
 public:
  explicit Panorama(std::weak_ptr<VEMOImage>& made) : made_(made) {}
  void decode(std::string, Done done) override {
    std::vector<std::uint8_t> rgba(std::size_t{600} * 300 * 4);
    for (std::uint8_t x = 0; x < 100; ++x) rgba[std::size_t{4} * x] = x;
    std::shared_ptr<VEMOImage> image = std::make_shared<DecodedImage>(600, 300, std::move(rgba));
    made_ = image;
    done(std::move(image));
  }

 private:
  std::weak_ptr<VEMOImage>& made_;
};

/// A bitmap of one white pixel.
inline std::string whitePixel() {
  std::string bytes(58, '\0');
  bytes.replace(0, 3, {'B', 'M', 58});
  bytes[10] = 54;
  bytes[14] = 40;
  bytes[18] = bytes[22] = bytes[26] = 1;
  bytes[28] = 24;
  bytes.replace(54, 3, "\xff\xff\xff");
  return bytes;
}

inline CloudOptions cloudOptions(std::shared_ptr<Clock> clock) {
  CloudOptions options;
  options.clock = std::move(clock);
  options.roomCapacity = 2;
  return options;
}

/// Phones in a cloud whose clock the test drives, each with a page that remembers.
class PhoneTest : public testing::Test {
 protected:
  /// Somebody with a page and its phone.
  struct User {
    std::shared_ptr<FakePage> page = std::make_shared<FakePage>();
    std::unique_ptr<Phone> phone;

    object reply(std::string_view cbid) const {
      const auto found = page->reply(cbid);
      EXPECT_TRUE(found) << "no reply to " << cbid;
      return found.value_or(object());
    }
    std::int64_t code(std::string_view cbid) const {
      const auto found = reply(cbid);
      return found.contains("error") ? found.at("error").at("errcode").as_int64() : 0;
    }
    std::string problem() const {
      const auto problems = page->frames("problem");
      return problems.empty() ? "" : std::string(problems.back().at("text").as_string());
    }
  };

  User connect() {
    User user;
    user.phone = std::make_unique<Phone>(environment_, user.page);
    return user;
  }

  /// A phone that has entered room 7 as `userId`, on stage, with its events registered.
  User entered(const std::string& userId) {
    auto user = connect();
    boost::json::array callbacks;
    for (const auto* name : {"onRemoteUserEnterRoom", "onRemoteUserLeaveRoom", "onConnectionLost",
                             "onStatistics", "onConnectionRecovery", "onUserVideoAvailable"})
      callbacks.push_back({{"sdkcbName", name}, {"jsRecvcbName", "on"}});
    command(user, "registCallBacks", {{"callbacks", std::move(callbacks)}}, "callbacks");
    command(user, "initSDK", {}, "init");
    command(user, "enterRoom", enterParams(userId, "good"), "enter");
    EXPECT_EQ(user.code("enter"), 0);
    return user;
  }

  static object enterParams(const std::string& userId, const std::string& signature) {
    return {{"sdkAppId", 1}, {"userId", userId}, {"userSig", signature},
            {"roomId", 7},   {"appScene", 1},    {"role", 20}};
  }

  void frame(const User& user, const object& frame) {
    user.phone->onText(jsonText(frame));
    pass(milliseconds(0));
  }
  void message(const User& user, const std::string& text) {
    frame(user, {{"kind", "message"}, {"text", text}});
  }
  void command(const User& user, std::string_view action, object params, std::string_view cbid,
               milliseconds wait = seconds(1)) {
    message(user, jsonText(object{{"head", {{"module", "kobu"}, {"action", action}}},
                                  {"params", std::move(params)},
                                  {"cbid", cbid}}));
    pass(wait);
  }

  /// Lets time pass in the cloud, and the main thread do its work.
  void pass(milliseconds time) {
    clock_->advance(time);
    while (mainQueue_.drain() > 0) clock_->advance(milliseconds(0));
  }

  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  NullSystemLog systemLog_;
  MainThreadQueue mainQueue_;
  std::vector<std::string> notes_;
  ClassroomCloud cloud_{cloudOptions(clock_)};
  PixbufImageDecoder images_;
  PhoneEnvironment environment_{
      .cloud = cloud_,
      .makeLogger = [this] { return std::make_unique<NoteLogger>(notes_); },
      .systemLog = systemLog_,
      .mainQueue = mainQueue_,
      .makeDownloads = [] { return std::make_unique<Bytes>(whitePixel()); },
      .makeImages = [this] { return std::make_unique<PatientDecoder>(images_); }};
};

}  // namespace vemo::test
