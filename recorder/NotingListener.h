#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "bridge/VEMOKOBUEventListener.h"
#include "platform/Forwarding.h"
#include "recorder/Notes.h"

namespace vemo {

/// A native listener that notes what it hears under its name, and passes it on.
class NotingListener : public VEMOKOBUEventListenerOf<NotingListener>,
                       public Target<VEMOKOBUEventListener> {
 public:
  /// `listener`: the target, used or held.
  template <class Listener>
  NotingListener(std::shared_ptr<Notes> notes, std::string name, Listener&& listener)
      : Target(std::forward<Listener>(listener)),
        notes_(std::move(notes)),
        name_(std::move(name)) {}

  const std::string& name() const { return name_; }

  template <auto operation, class... Args>
  void heard(const Args&... args) {
    constexpr auto name = std::get<ListenerOperation<operation>>(listenerOperations).name;
    if (notes(name)) {
      notes_->effect("listener", [&](NoteWriter& text) {
        text.add("name", name_).add("op", name).addArray("args", args...);
      });
    }
    (target().*operation)(args...);
  }

 protected:
  /// Whether what `operation` brings is noted.
  virtual bool notes(std::string_view /*operation*/) const { return true; }

 private:
  const std::shared_ptr<Notes> notes_;
  const std::string name_;
};

}  // namespace vemo
