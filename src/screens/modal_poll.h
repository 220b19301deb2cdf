// The poll while a modal form is open: the main frame's timer ReadComm stands
// still (whoever opens the form switches it off first), and the form's own
// timer runs the same walk every 100 ms. Closing the form hands the poll back.
#pragma once

#include <QTimer>
#include <functional>

namespace qel {

class ModalPoll {
public:
    ModalPoll();
    // A poll still running is finished as by finish().
    ~ModalPoll();
    ModalPoll(const ModalPoll&) = delete;
    ModalPoll& operator=(const ModalPoll&) = delete;

    // The form's timer starts: each tick is one ReadCommTick(), whose own
    // frame logs a failure "MDIfrmMenu.ReadComm_Timer_Err". It does not stop
    // ReadComm; the opener has done that.
    void start();
    // The form's timer stops and ReadComm runs again (EnableReadComm(true)).
    // Only the first call after start() switches ReadComm on.
    void finish();
    bool running() const { return running_; }

    // After each tick: the view repaints what the walk changed.
    std::function<void()> afterTick;

private:
    QTimer timer_;
    bool running_ = false;
};

}  // namespace qel
