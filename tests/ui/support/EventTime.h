// SPDX-License-Identifier: MIT
#pragma once

#include <QEvent>
#include <QWidget>
#include <chrono>
#include <optional>

namespace tolvane {

// When a widget last got an event of the type; no time before the first one.
class EventTime : public QObject {
 public:
  EventTime(QWidget& widget, QEvent::Type type) : type_(type) { widget.installEventFilter(this); }

  std::optional<std::chrono::steady_clock::time_point> at;

 protected:
  bool eventFilter(QObject* /*object*/, QEvent* event) override {
    if (event->type() == type_) at = std::chrono::steady_clock::now();
    return false;
  }

 private:
  const QEvent::Type type_;
};

}  // namespace tolvane
