#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recorder/NotingListener.h"

namespace vemo::replay {

/// A native listener that implements some of the operations.
class ScriptedListener final : public NotingListener {
 public:
  /// `operations`: those that it implements.
  ScriptedListener(std::shared_ptr<Notes> notes, std::string name,
                   std::vector<std::string> operations)
      : NotingListener(std::move(notes), std::move(name),
                       std::make_shared<VEMOKOBUEventListener>()),
        operations_(std::move(operations)) {}

 private:
  bool notes(std::string_view operation) const override {
    return std::ranges::find(operations_, operation) != operations_.end();
  }

  const std::vector<std::string> operations_;
};

}  // namespace vemo::replay
