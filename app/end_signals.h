// SIGINT and SIGTERM end the station in its exit order, with a window or
// without. The signal handler only notes the signal; a timer on the event
// loop, which also runs inside the yields of a walk, calls `end` once.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

namespace qel {

class EndOnSignal : public QObject {
public:
    explicit EndOnSignal(std::function<void()> end, QObject* parent = nullptr);

private:
    std::function<void()> end_;
    QTimer watch_;
    bool done_ = false;
};

}  // namespace qel
