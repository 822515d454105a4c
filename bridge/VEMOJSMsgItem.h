#pragma once

#include <array>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/object.hpp>
#include <boost/json/storage_ptr.hpp>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bridge/VEMOJSError.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// What a message is about: the module it is for and the action it names.
struct VEMOJSMsgItemHead {
  std::string module;
  std::string action;
};

/// One page command and its reply.
///
/// The base router makes an item for each message, the handler fills the reply
/// fields, and the base router delivers them: when the handler returns, or, for an
/// asynchronous task, each time executeJSCallbackIn is called. An item can be
/// answered several times; each answer carries the fields as they are then.
///
/// The item owns an arena for what was parsed into it and for its first reply: they
/// live there and die with the item.
///
/// Threads: used by one thread at a time. The command's thread fills it until the
/// handler has started the operation; after that only the completion touches the
/// reply fields, on whichever thread the answer arrives.
class VEMOJSMsgItem {
 public:
  VEMOJSMsgItem() = default;
  explicit VEMOJSMsgItem(VEMOJSMsgItemHead head) : head_(std::move(head)) {}
  virtual ~VEMOJSMsgItem() = default;
  VEMOJSMsgItem(const VEMOJSMsgItem&) = delete;
  VEMOJSMsgItem& operator=(const VEMOJSMsgItem&) = delete;

  /// The memory for values that live no longer than the item. Not thread-safe. The arena
  /// gives nothing back, and an item may be answered for ever: once there is a return
  /// value, those that replace it come from the heap.
  boost::json::storage_ptr arena() {
    return msgRetval_ ? boost::json::storage_ptr() : boost::json::storage_ptr(&arena_);
  }

  const VEMOJSMsgItemHead& head() const { return head_; }
  void setHead(VEMOJSMsgItemHead head) { head_ = std::move(head); }

  /// The command's arguments; null when the message has none.
  const boost::json::object* params() const { return params_ ? &*params_ : nullptr; }
  void setParams(boost::json::object params) { params_.emplace(std::move(params)); }

  /// The native callback that the message asks for; empty when none.
  const std::string& nativecb() const { return nativecb_; }
  void setNativecb(std::string name) { nativecb_ = std::move(name); }

  /// The reply's value; absent until a handler sets one.
  const std::optional<boost::json::object>& msgRetval() const { return msgRetval_; }
  void setMsgRetval(boost::json::object value) { msgRetval_.emplace(std::move(value)); }

  /// The reply's error record; absent until a handler sets one.
  const std::optional<VEMOJSError>& msgError() const { return msgError_; }
  void setMsgError(VEMOJSError error) { msgError_ = std::move(error); }

  /// True when the handler answers later; the base router then does not reply when
  /// the handler returns.
  bool isAsyncTask() const { return isAsyncTask_; }
  void setIsAsyncTask(bool async) { isAsyncTask_ = async; }

  /// False asks the base router not to log this item's reply.
  bool printLog() const { return printLog_; }
  void setPrintLog(bool print) { printLog_ = print; }

  /// Delivers the reply fields, as they are now, to the page in `webView`. Callable
  /// from any thread; a null web view delivers to nothing. An item that no base
  /// router made has nobody to answer and does nothing.
  virtual void executeJSCallbackIn(const std::shared_ptr<VEMOWebView>& /*webView*/) {}

 private:
  // Enough for most messages, and small enough for the item to be allocated quickly:
  // the C library keeps freed blocks of up to about a kilobyte at hand.
  std::array<unsigned char, 640> inlineMemory_;
  boost::json::monotonic_resource arena_{inlineMemory_.data(), inlineMemory_.size()};
  VEMOJSMsgItemHead head_;
  std::optional<boost::json::object> params_;
  std::string nativecb_;
  std::optional<boost::json::object> msgRetval_;
  std::optional<VEMOJSError> msgError_;
  bool isAsyncTask_ = false;
  bool printLog_ = true;
};

}  // namespace vemo
