// A babbling chamber's stream to one peer: junk in chunks on a short timer,
// for as long as the chamber's fault is babble, the chamber is on the line
// and the peer is there. A chunk is only queued while the peer has taken
// what went before, so a peer that stops reading costs qelsim no memory,
// and each tick is short, so the event loop (stdin, the other chambers)
// goes on meanwhile.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

#include "bus.h"

namespace qelsim {

class Babble : public QObject {
    Q_OBJECT
public:
    // Bytes queued for the peer and not yet taken by it; negative: the peer is gone.
    using Backlog = std::function<qint64()>;
    using Write = std::function<void(const QByteArray&)>;

    // Starts at once; deletes itself when it ends.
    Babble(Bus& bus, int address, Framing framing, int chunk, Backlog backlog, Write write, QObject* parent);

    int address() const { return address_; }
    bool running() const { return timer_.isActive(); }
    void stop();

private:
    void tick();

    Bus& bus_;
    int address_;
    Framing framing_;
    int chunk_;
    Backlog backlog_;
    Write write_;
    QTimer timer_;
};

}  // namespace qelsim
