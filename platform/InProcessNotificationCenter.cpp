#include "platform/InProcessNotificationCenter.h"

#include <utility>

namespace vemo {

void InProcessNotificationCenter::post(const std::string& name) { subscriptions_.call(name); }

void InProcessNotificationCenter::addObserver(const void* observer, const std::string& name,
                                              Callback callback) {
  subscriptions_.add(observer, name, std::move(callback));
}

void InProcessNotificationCenter::removeEveryObserver(const void* observer) {
  subscriptions_.removeEvery(observer);
}

}  // namespace vemo
