#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

#include "Recorder.h"
#include "platform/ReplyDelivery.h"

namespace vemo::replay {

/// Writes the replies of items, under the items' labels.
class RecordingReplies final : public ReplyDelivery {
 public:
  /// `recorder` outlives this and every item.
  explicit RecordingReplies(Recorder& recorder) : recorder_(recorder) {}

  /// Gives `item` its label, before it is dispatched. `hasAction` is false for a message
  /// whose action can't be read. Main thread.
  void label(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label, bool hasAction);

  void deliver(const VEMOJSMsgItem& item, const Text& cbid,
               const std::shared_ptr<VEMOWebView>& webView) override;

 private:
  struct Entry {
    std::weak_ptr<const VEMOJSMsgItem> item;
    std::string label;
    bool hasAction;
  };

  Recorder& recorder_;
  // Changed by the main thread alone, while no other runs.
  std::unordered_map<const VEMOJSMsgItem*, Entry> entries_;
  std::size_t sweepAt_ = 64;
};

}  // namespace vemo::replay
