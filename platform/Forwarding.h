#pragma once

#include <memory>
#include <utility>

namespace vemo {

/// What stands for another of the same kind: it uses its target, or holds it.
template <class Interface>
class Target {
 public:
  /// `target` must outlive this.
  explicit Target(Interface& target) : target_(std::shared_ptr<void>(), &target) {}
  /// Holds `target`, which is not null.
  explicit Target(std::shared_ptr<Interface> target) : target_(std::move(target)) {}

 protected:
  Interface& target() const { return *target_; }

 private:
  const std::shared_ptr<Interface> target_;
};

/// The base of what passes calls on to its target. As thread-safe as the target is.
template <class Interface>
class Forwarding : public Interface, public Target<Interface> {
 public:
  using Target<Interface>::Target;

 protected:
  using Target<Interface>::target;
};

}  // namespace vemo
