#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vemo {

enum class AlertActionStyle { normal, destructive };

/// A button of an alert. `handler` is called on the main thread when it is pressed.
struct AlertAction {
  std::string title;
  AlertActionStyle style = AlertActionStyle::normal;
  std::function<void()> handler;
};

/// An alert in alert style, its buttons in the order in which they were added.
struct Alert {
  std::string title;
  std::string message;
  std::vector<AlertAction> actions;
};

/// Shows alerts above whatever the application shows.
class AlertPresenter {
 public:
  virtual ~AlertPresenter() = default;

  /// Shows `alert`, animated, and returns at once. Pressing a button closes the
  /// alert and calls that button's handler, once; the presenter holds the handlers
  /// until then. Any thread.
  virtual void present(Alert alert) = 0;
};

}  // namespace vemo
