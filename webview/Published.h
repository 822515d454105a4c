#pragma once

#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace vemo {

/// A value that several threads read and replace: each sees one whole version of it,
/// which, T being const, never changes under its eyes. Empty until something is
/// published.
///
/// Threads: every operation from any thread. The lock inside is held for the swap, or the
/// copy of modify, alone; an old version is destroyed outside it, by whoever lets go last.
/// (A lock, because the thread sanitizer reports this library's atomic shared pointer.)
template <class T>
class Published {
 public:
  using Version = std::shared_ptr<T>;

  /// The present version; null when there is none.
  Version load() const {
    const std::lock_guard lock(mutex_);
    return version_;
  }

  /// Replaces the present version; null for none.
  void publish(Version version) {
    const std::lock_guard lock(mutex_);
    version_.swap(version);
  }

  void clear() { take(); }

  /// Empties the slot and returns what was in it.
  Version take() {
    Version none;
    const std::lock_guard lock(mutex_);
    version_.swap(none);
    return none;
  }

  using Copy = std::shared_ptr<std::remove_const_t<T>>;

  /// A copy of the present version; null when there is none.
  Copy copy() const {
    const auto version = load();
    return version ? std::make_shared<std::remove_const_t<T>>(*version) : nullptr;
  }

  /// Replaces the present version, if there is one, by a changed copy of it. `change`
  /// gets the copy and must not call out. The copy is made in `memory`, an earlier one, where that
  /// is given: of the same version it takes no more.
  template <class Change>
  void modify(Change change, Copy memory = nullptr) {
    Version old;
    const std::lock_guard lock(mutex_);
    if (!version_) return;
    Copy changed = std::move(memory);
    if (changed) {
      *changed = *version_;
    } else {
      changed = std::make_shared<std::remove_const_t<T>>(*version_);
    }
    change(*changed);
    old = std::exchange(version_, std::move(changed));
  }

 private:
  mutable std::mutex mutex_;
  Version version_;
};

}  // namespace vemo
