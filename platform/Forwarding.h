#pragma once

#include <memory>
#include <utility>

namespace vemo {

/// The base of what passes calls on: a target for which it stands. As thread-safe as the
/// target is.
template <class Interface>
class Forwarding : public Interface {
 public:
  /// `target` must outlive this.
  explicit Forwarding(Interface& target) : target_(std::shared_ptr<void>(), &target) {}
  /// Holds `target`, which is not null.
  explicit Forwarding(std::shared_ptr<Interface> target) : target_(std::move(target)) {}

 protected:
  Interface& target() const { return *target_; }

 private:
  const std::shared_ptr<Interface> target_;
};

}  // namespace vemo
