#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "bridge/ActionNames.h"
#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// The application's generic message router: it decodes page messages into items,
/// calls what is registered under an item's action name and delivers the replies.
/// A router for one subject, such as VEMOKOBUMsgRouter, is one too: it owns another that
/// does this and registers its commands with it.
class VEMOJSMsgRouter {
 public:
  /// Called with the item and the web view that the command came from (null when
  /// there is none), on the thread that delivers the command. Throws nothing.
  using Wrapper = std::function<void(const std::shared_ptr<VEMOJSMsgItem>& item,
                                     const std::shared_ptr<VEMOWebView>& webView)>;

  /// The same for many commands: called with the place of the command's name in the names that
  /// were registered, too.
  using WrapperOfAll =
      std::function<void(std::size_t place, const std::shared_ptr<VEMOJSMsgItem>& item,
                         const std::shared_ptr<VEMOWebView>& webView)>;

  virtual ~VEMOJSMsgRouter() = default;

  /// Registers `wrapper` under the command name `action`; a name registered again
  /// replaces the earlier wrapper. Not to be called while commands are delivered.
  virtual void setMethod(const std::string& action, Wrapper wrapper) = 0;

  /// Does what setMethod does, for each of `names` in their order. `names` outlives the router,
  /// so that one which overrides this need not keep the names itself. `wrapper` is not empty.
  virtual void setMethods(const ActionNames& names, WrapperOfAll wrapper) {
    const auto shared = std::make_shared<const WrapperOfAll>(std::move(wrapper));
    for (std::size_t place = 0; place < names.all().size(); ++place) {
      setMethod(std::string(names.all()[place]),
                [shared, place](const auto& item, const auto& webView) {
                  (*shared)(place, item, webView);
                });
    }
  }

  /// Decodes one page message, runs its command on this thread and delivers the reply,
  /// unless the command answers later. A message that can't be used is answered with an
  /// error as far as it says who waits. Where memory is short for the command, or for its answer,
  /// the page is told that (VEMOJSError.h); where it is short for reading the message, or for
  /// any answer, std::bad_alloc comes out. Any thread, by several at once.
  virtual void receive(std::string_view message) = 0;

  /// The page's web view; null when there is none. Any thread.
  virtual std::shared_ptr<VEMOWebView> webView() const = 0;
  /// Replaces the web view, null for none; commands under way keep the one they came
  /// with. Any thread.
  virtual void setWebView(std::shared_ptr<VEMOWebView> webView) = 0;
};

}  // namespace vemo
