#include "fake_serial.h"

#include "clock.h"
#include "link.h"
#include "runtime_error.h"

namespace qeltest {

void FakeSerialPort::setPortOpen(bool open) {
    if (open) {
        if (open_) throw qel::RuntimeError(qel::err::PortAlreadyOpen);
        if (failOpen) throw qel::RuntimeError(qel::err::DeviceUnavailable);
        open_ = true;
        ++opens;
    } else if (open_) {
        open_ = false;
        ++closes;
    }
}

void FakeSerialPort::output(const QByteArray& bytes) {
    if (!open_) throw qel::RuntimeError(qel::err::PortNotOpen);
    sent.append(bytes);
    if (!reply) return;
    const QByteArray answer = reply(bytes);
    if (replyAfterMs <= 0)
        pending_ += answer;
    else
        inFlight_.append({qel::CurrentClock().elapsedMs() + replyAfterMs, answer});
}

void FakeSerialPort::arrive() {
    const int64_t now = qel::CurrentClock().elapsedMs();
    while (!inFlight_.isEmpty() && inFlight_.first().first <= now) pending_ += inFlight_.takeFirst().second;
}

int FakeSerialPort::inBufferCount() {
    arrive();
    if (open_ && babbleBytes > 0) pending_ += QByteArray(babbleBytes, ':');
    return static_cast<int>(pending_.size());
}

void FakeSerialPort::clearInBuffer() {
    arrive();
    pending_.clear();
}

QByteArray FakeSerialPort::input() {
    arrive();
    QByteArray out = pending_;
    pending_.clear();
    return out;
}

FakeSerialPort* InstallFakeSerialPort() {
    auto port = std::make_unique<FakeSerialPort>();
    FakeSerialPort* raw = port.get();
    qel::MSComm1 = std::move(port);
    return raw;
}

QByteArray FromHex(const QString& hex) { return QByteArray::fromHex(hex.toLatin1()); }

// Bitwise CRC-16/MODBUS by the polynomial 0x8005 processed MSB-first on the
// reflected data, i.e. a different formulation from the station's routine.
uint16_t ReferenceCrc(const QByteArray& bytes) {
    auto reflect = [](uint32_t v, int bits) {
        uint32_t r = 0;
        for (int i = 0; i < bits; ++i)
            if (v & (1u << i)) r |= 1u << (bits - 1 - i);
        return r;
    };
    uint32_t crc = 0xFFFF;
    for (char c : bytes) {
        crc ^= reflect(static_cast<uint8_t>(c), 8) << 8;
        for (int k = 0; k < 8; ++k) crc = (crc & 0x8000) ? ((crc << 1) ^ 0x8005) & 0xFFFF : (crc << 1) & 0xFFFF;
    }
    return static_cast<uint16_t>(reflect(crc, 16));
}

QByteArray WithCrc(const QByteArray& bytes) {
    const uint16_t crc = ReferenceCrc(bytes);
    QByteArray out = bytes;
    out.append(static_cast<char>(crc & 0xFF));
    out.append(static_cast<char>(crc >> 8));
    return out;
}

QByteArray ReadReplyBody(int address, int first, int count, const std::function<uint16_t(int)>& value) {
    QByteArray out;
    out.append(static_cast<char>(address));
    out.append('\x03');
    out.append(static_cast<char>((2 * count) & 0xFF));
    for (int r = first; r < first + count; ++r) {
        const uint16_t v = value(r);
        out.append(static_cast<char>(v >> 8));
        out.append(static_cast<char>(v & 0xFF));
    }
    return out;
}

}  // namespace qeltest
