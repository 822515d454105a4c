#pragma once

#include <atomic>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cstddef>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/PageSocket.h"

namespace vemo::test {

/// A page that only remembers what it was sent.
class FakePage final : public PageSocket {
 public:
  void send(std::string text) override {
    const std::lock_guard lock(mutex_);
    frames_.push_back(std::move(text));
  }

  void sendLatest(std::string_view what, std::string text) override {
    {
      const std::lock_guard lock(mutex_);
      latest_.emplace(what);
    }
    send(std::move(text));
  }

  std::size_t unsentBytes() const override { return unsent; }
  std::atomic<std::size_t> unsent = 0;  ///< how slow it is

  /// The frames of one kind so far, oldest first.
  std::vector<boost::json::object> frames(std::string_view kind) const {
    const std::lock_guard lock(mutex_);
    std::vector<boost::json::object> found;
    for (const auto& text : frames_) {
      auto frame = boost::json::parse(text).as_object();
      if (frame.at("kind").as_string() == kind) found.push_back(std::move(frame));
    }
    return found;
  }

  /// What the scripts so far gave to the page's function `name`.
  std::vector<boost::json::object> calls(std::string_view name) const {
    std::vector<boost::json::object> found;
    const auto start = std::string(name) + "(";
    for (const auto& frame : frames("script")) {
      const std::string text(frame.at("text").as_string());
      if (!text.starts_with(start) || !text.ends_with(')')) continue;
      const auto json = text.substr(start.size(), text.size() - start.size() - 1);
      found.push_back(boost::json::parse(json).as_object());
    }
    return found;
  }

  /// The first reply to the call named `cbid`, which is the one that a page waits for.
  std::optional<boost::json::object> reply(std::string_view cbid) const {
    for (auto&& call : calls("vemoBridge.onReply"))
      if (call.at("head").at("cbid").as_string() == cbid) return call;
    return std::nullopt;
  }

  /// The values of the events `name`, as received by the page function "on".
  std::vector<boost::json::object> events(std::string_view name) const {
    std::vector<boost::json::object> found;
    for (const auto& call : calls("on"))
      if (call.at("head").at("action").as_string() == name)
        found.push_back(call.at("retval").as_object());
    return found;
  }

  /// Of what only the latest counts for a slow page.
  std::set<std::string> latest() const {
    const std::lock_guard lock(mutex_);
    return latest_;
  }

  std::size_t count() const {
    const std::lock_guard lock(mutex_);
    return frames_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> frames_;
  std::set<std::string> latest_;
};

}  // namespace vemo::test
