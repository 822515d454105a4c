#include "RecordingReplies.h"

#include <algorithm>
#include <utility>

#include "Values.h"

namespace vemo::replay {
namespace {

json::value errorOf(const VEMOJSMsgItem& item) {
  const auto& error = item.msgError();
  if (!error) return nullptr;
  return json::object{
      {"module", error->module}, {"errcode", error->errcode}, {"errmsg", jsonOf(error->errmsg)}};
}

}  // namespace

void RecordingReplies::label(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label,
                             bool hasAction) {
  if (entries_.size() >= sweepAt_) {
    std::erase_if(entries_, [](const auto& entry) { return entry.second.item.expired(); });
    sweepAt_ = std::max<std::size_t>(64, 2 * entries_.size());
  }
  entries_.insert_or_assign(item.get(), Entry{item, std::move(label), hasAction});
}

void RecordingReplies::deliver(const VEMOJSMsgItem& item, const Text&,
                               const std::shared_ptr<VEMOWebView>&) {
  const auto& entry = entries_.at(&item);
  recorder_.write("reply", {{"item", entry.label},
                            {"action", entry.hasAction ? json::value(item.head().action) : nullptr},
                            {"error", errorOf(item)},
                            {"retval", jsonOf(item.msgRetval())},
                            {"printLog", item.printLog()}});
}

}  // namespace vemo::replay
