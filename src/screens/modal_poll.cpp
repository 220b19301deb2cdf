#include "modal_poll.h"

#include "poll_walk.h"
#include "station_hooks.h"

namespace qel {

ModalPoll::ModalPoll() {
    timer_.setInterval(100);  // the gap of the main timer: the walk keeps its pace
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] {
        ReadCommTick();
        if (afterTick) afterTick();
    });
}

ModalPoll::~ModalPoll() { finish(); }

void ModalPoll::start() {
    running_ = true;
    timer_.start();
}

void ModalPoll::finish() {
    timer_.stop();
    if (!running_) return;
    running_ = false;
    EnableReadComm(true);
}

}  // namespace qel
