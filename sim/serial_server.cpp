#include "serial_server.h"

#include <QPointer>

#include "babble.h"
#include "frames.h"

namespace qelsim {

namespace {
// Silence that ends an RTU frame of unknown length, or drops a partial one.
// Longer than the 3.5 characters of the standard, as a pseudo-terminal
// delivers in bursts.
constexpr int GapMs = 30;
// An ASCII frame longer than this without CR LF is noise; so is an RTU
// buffer that long without a frame in it.
constexpr int MaxAsciiChars = 1024;
constexpr int MaxRtuBytes = 1024;
// What a babbling chamber adds to the line per tick.
constexpr int BabbleChunk = 256;

// Where a complete request with a good CRC starts in buf, from `from` on; -1 if nowhere.
qsizetype FindRtuFrame(const QByteArray& buf, qsizetype from) {
    for (qsizetype k = from; k + 4 <= buf.size(); ++k) {
        const QByteArray rest = buf.mid(k);
        const int n = RtuRequestLength(rest);
        if (n > 0 && n <= rest.size() && RtuCrcOk(rest.left(n))) return k;
    }
    return -1;
}
}  // namespace

SerialServer::SerialServer(Bus& bus, PtyPort& port, Framing framing, QObject* parent)
    : QObject(parent), bus_(bus), port_(port), framing_(framing) {
    gap_.setSingleShot(true);
    gap_.setInterval(GapMs);
    connect(&gap_, &QTimer::timeout, this, &SerialServer::onGap);
    connect(&port_, &PtyPort::received, this, &SerialServer::onReceived);
    connect(&port_, &PtyPort::hungUp, this, [this] {
        bus_.trace(in_.isEmpty() ? QString("peer away")
                                 : QString("peer away, drop %1").arg(QString::fromLatin1(Hex(in_))));
        in_.clear();
        gap_.stop();
        for (Babble* b : findChildren<Babble*>()) b->stop();
    });
}

void SerialServer::onReceived(const QByteArray& bytes) {
    in_.append(bytes);
    if (framing_ == Framing::Rtu)
        takeRtuFrames();
    else
        takeAsciiFrames();
    if (!in_.isEmpty()) gap_.start();
}

void SerialServer::onGap() {
    if (framing_ == Framing::Rtu && RtuRequestLength(in_) == -1 && RtuCrcOk(in_)) {
        answer(in_.left(in_.size() - 2));  // a function we do not serve: the chamber says so
    } else if (!in_.isEmpty()) {
        bus_.trace(QString("drop %1").arg(QString::fromLatin1(Hex(in_))));
    }
    in_.clear();
}

void SerialServer::takeRtuFrames() {
    while (!in_.isEmpty()) {
        const int need = RtuRequestLength(in_);
        if (need > 0 && in_.size() >= need && RtuCrcOk(in_.left(need))) {
            const QByteArray frame = in_.left(need);
            in_.remove(0, need);
            answer(frame.left(frame.size() - 2));
            continue;
        }
        if (need == 0) return;  // the length is not known yet
        // Noise, a bad CRC, or a function whose end only the pause tells: a
        // good frame further on is taken at once, the rest waits for the pause.
        const qsizetype at = FindRtuFrame(in_, 1);
        if (at > 0) {
            bus_.trace(QString("drop %1").arg(QString::fromLatin1(Hex(in_.left(at)))));
            in_.remove(0, at);
            continue;
        }
        if (in_.size() > MaxRtuBytes) in_.clear();
        return;
    }
}

void SerialServer::takeAsciiFrames() {
    for (;;) {
        const qsizetype start = in_.indexOf(':');
        if (start < 0) {
            in_.clear();
            return;
        }
        in_.remove(0, start);
        const qsizetype end = in_.indexOf("\r\n");
        const qsizetype restart = in_.indexOf(':', 1);
        if (restart > 0 && (end < 0 || restart < end)) {
            in_.remove(0, restart);  // a new frame began before this one ended
            continue;
        }
        if (end < 0) {
            if (in_.size() > MaxAsciiChars) in_.clear();
            return;
        }
        const QByteArray body = AsciiDecode(in_.mid(1, end - 1));
        in_.remove(0, end + 2);
        if (body.isEmpty()) continue;  // not hex, or a wrong LRC
        answer(body);
    }
}

void SerialServer::answer(const QByteArray& frame) {
    const auto address = static_cast<uint8_t>(frame[0]);
    const QByteArray pdu = frame.mid(1);
    bus_.trace(QString("rx %1 %2").arg(address).arg(QString::fromLatin1(Hex(pdu))));
    const Bus::Reply reply = bus_.request(address, pdu, framing_, {address, 0});
    if (reply.mode == FaultMode::Babble) babble(address);
    if (!reply.bytes.isEmpty()) send(reply.bytes, reply.delayMs);
}

void SerialServer::send(const QByteArray& bytes, int delayMs) {
    bus_.trace(QString("tx %1").arg(TraceHex(bytes)));
    if (delayMs <= 0) {
        port_.write(bytes);
        return;
    }
    // Late, but without holding up what the line brings meanwhile.
    QPointer<PtyPort> port(&port_);
    QTimer::singleShot(delayMs, this, [port, bytes] {
        if (port) port->write(bytes);
    });
}

void SerialServer::babble(int address) {
    for (const Babble* b : findChildren<Babble*>()) {
        if (b->address() == address && b->running()) return;
    }
    PtyPort* port = &port_;
    new Babble(
        bus_, address, framing_, BabbleChunk,
        [port] {
            port->checkPeer();  // not a byte for whoever opens the line next
            return port->peerPresent() ? port->pending() : qint64(-1);
        },
        [port](const QByteArray& bytes) { port->write(bytes); }, this);
}

}  // namespace qelsim
