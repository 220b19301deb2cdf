#include "babble.h"

namespace qelsim {

namespace {
constexpr int TickMs = 5;
}

Babble::Babble(Bus& bus, int address, Framing framing, int chunk, Backlog backlog, Write write, QObject* parent)
    : QObject(parent),
      bus_(bus),
      address_(address),
      framing_(framing),
      chunk_(chunk),
      backlog_(std::move(backlog)),
      write_(std::move(write)) {
    bus_.trace(QString("babble %1 starts").arg(address_));
    connect(&timer_, &QTimer::timeout, this, &Babble::tick);
    timer_.start(TickMs);
    tick();
}

void Babble::tick() {
    const qint64 backlog = backlog_();
    if (backlog < 0 || bus_.fault(address_).mode != FaultMode::Babble || !bus_.online(address_)) {
        stop();
        return;
    }
    if (backlog < chunk_) write_(bus_.babble(address_, framing_, chunk_));
}

void Babble::stop() {
    if (!timer_.isActive()) return;
    bus_.trace(QString("babble %1 ends").arg(address_));
    timer_.stop();
    deleteLater();
}

}  // namespace qelsim
