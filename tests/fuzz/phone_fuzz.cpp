// Two phones of one simulator, side by side. The lines of the input:
//
//     m{"head":...}     a message of the first phone's page; M: of the second's
//     f{"kind":...}     any frame of the first phone's page; F: of the second's
//     t250              so many milliseconds pass
//
// What the pages get are frames; their scripts are calls with valid JSON, and a command
// that has one answer has no second.

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <charconv>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/FuzzTarget.h"
#include "json/JsonText.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "simulation/ClassroomCloud.h"
#include "simulator/PageSocket.h"
#include "simulator/Phone.h"
#include "testing/NullPlatform.h"
#include "webview/protocol.h"

namespace vemo::fuzz {
namespace {

using boost::json::object;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Downloads that end at once: with a file, or where the address has "fail", without one.
class QuickDownloads final : public DownloadService, public DownloadedFile {
 public:
  bool isUrl(const std::string& text) const override { return text.find(':') != std::string::npos; }
  void download(const std::string& url, std::function<void(DownloadResult)> done) override {
    if (url.find("fail") != std::string::npos)
      return done({DownloadError{-1009, "offline"}, nullptr});
    done({std::nullopt, std::make_shared<QuickDownloads>()});
  }
  std::optional<std::string> readAll() const override { return "bytes"; }
};

/// Every file is an image.
class QuickImages final : public ImageDecoder {
 public:
  void decode(std::string, Done done) override {
    done(std::make_shared<DecodedImage>(2, 1, std::vector<std::uint8_t>(8)));
  }
};

/// The commands that have one answer at most, by the protocol.
const std::set<std::string, std::less<>>& oneAnswer() {
  static const auto names = [] {
    std::set<std::string, std::less<>> found;
    const auto document = protocol();
    for (const auto& command : document.at("commands").as_array()) {
      const auto& row = command.as_object();
      if (row.at("answered").as_string() != "many" && !row.contains("answeredAgainWhen"))
        found.emplace(row.at("name").as_string());
    }
    return found;
  }();
  return names;
}

std::string_view textAt(const object& from, std::string_view key) {
  const auto* const value = from.if_contains(key);
  const auto* const text = value ? value->if_string() : nullptr;
  return text ? std::string_view(*text) : std::string_view();
}

/// A page that looks at what it gets, and counts the calls and answers by their callback ids.
class Page final : public PageSocket {
 public:
  void send(std::string text) override {
    boost::json::error_code problem;
    const auto frame = boost::json::parse(text, problem);
    must(!problem && frame.is_object() && frame.get_object().contains("kind"), "a page gets frames",
         text);
    if (textAt(frame.get_object(), "kind") != "script") return;
    const auto script = textAt(frame.get_object(), "text");
    mustBeACall(script);
    countAnswer(script);
  }
  void sendLatest(std::string_view, std::string text) override { send(std::move(text)); }
  std::size_t unsentBytes() const override { return 0; }

  void sends(std::string_view message) {
    boost::json::error_code problem;
    const auto value = boost::json::parse(message, problem);
    if (problem || !value.is_object()) {
      unread_ = true;
      return;
    }
    const auto* const head = value.get_object().if_contains("head");
    const auto action = head && head->is_object() ? textAt(head->get_object(), "action") : "";
    auto& calls = calls_[std::string(textAt(value.get_object(), "cbid"))];
    calls.more = calls.sent || !oneAnswer().contains(action);
    calls.sent = true;
  }

 private:
  struct Calls {
    bool sent = false;
    bool more = false;  // several calls have this id, or may have several answers
    int answers = 0;
  };

  void countAnswer(std::string_view script) {
    static constexpr std::string_view function = "vemoBridge.onReply(";
    if (!script.starts_with(function)) return;
    boost::json::error_code problem;
    const auto reply = boost::json::parse(
        script.substr(function.size(), script.size() - function.size() - 1), problem);
    if (problem || !reply.is_object()) return;  // a function of the page's own name
    const auto* const head = reply.get_object().if_contains("head");
    if (!head || !head->is_object()) return;
    const auto calls = calls_.find(textAt(head->get_object(), "cbid"));
    if (calls == calls_.end()) return;
    ++calls->second.answers;
    must(unread_ || calls->second.more || calls->second.answers == 1,
         "a command that has one answer has no second", script);
  }

  std::map<std::string, Calls, std::less<>> calls_;
  bool unread_ = false;  // a message was no JSON, and is answered where its id can be seen
};

class Classroom {
 public:
  void play(std::string_view line) {
    if (line.empty()) return;
    const auto rest = line.substr(1);
    switch (line.front()) {
      case 'm': message(0, rest); break;
      case 'M': message(1, rest); break;
      case 'f': frame(0, rest); break;
      case 'F': frame(1, rest); break;
      case 't': {
        unsigned time = 0;
        std::from_chars(rest.data(), rest.data() + rest.size(), time);
        pass(std::min(milliseconds(time), milliseconds(seconds(12))));
        break;
      }
      default: break;
    }
  }

 private:
  void message(std::size_t which, std::string_view text) {
    pages_[which]->sends(text);
    frame(which, jsonText(object{{"kind", "message"}, {"text", text}}));
  }

  void frame(std::size_t which, std::string_view text) {
    phones_[which]->onText(text);
    pass(milliseconds(0));
  }

  void pass(milliseconds time) {
    clock_->advance(time);
    while (mainQueue_.drain() > 0) clock_->advance(milliseconds(0));
  }

  const std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  NullSystemLog systemLog_;
  MainThreadQueue mainQueue_;
  ClassroomCloud cloud_{[this] {
    CloudOptions options;
    options.clock = clock_;
    return options;
  }()};
  const PhoneEnvironment environment_{
      .cloud = cloud_,
      .makeLogger = [] { return std::make_unique<NullVEMOLogger>(); },
      .systemLog = systemLog_,
      .mainQueue = mainQueue_,
      .makeDownloads = [] { return std::make_unique<QuickDownloads>(); },
      .makeImages = [] { return std::make_unique<QuickImages>(); }};
  const std::array<std::shared_ptr<Page>, 2> pages_{std::make_shared<Page>(),
                                                    std::make_shared<Page>()};
  const std::array<std::unique_ptr<Phone>, 2> phones_{
      std::make_unique<Phone>(environment_, pages_[0]),
      std::make_unique<Phone>(environment_, pages_[1])};
};

}  // namespace
}  // namespace vemo::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vemo::fuzz::Classroom classroom;
  vemo::fuzz::forEachLine(vemo::fuzz::textOf(data, size),
                          [&](std::string_view line) { classroom.play(line); });
  return 0;
}
