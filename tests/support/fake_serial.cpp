#include "fake_serial.h"

#include "link.h"
#include "runtime_error.h"

#include <utility>

namespace qeltest {

void FakeSerialPort::setPortOpen(bool open) {
    if (open && open_) throw qel::RuntimeError(qel::err::PortAlreadyOpen);
    if (open != open_) ++(open ? opens : closes);
    open_ = open;
}

void FakeSerialPort::output(const QByteArray& bytes) {
    if (!open_) throw qel::RuntimeError(qel::err::PortNotOpen);
    sent.append(bytes);
    if (reply) pending_ += reply(bytes);
}

QByteArray FakeSerialPort::input() { return std::exchange(pending_, QByteArray()); }

FakeSerialPort* InstallFakeSerialPort() {
    auto port = std::make_unique<FakeSerialPort>();
    FakeSerialPort* raw = port.get();
    qel::MSComm1 = std::move(port);
    return raw;
}

QByteArray FromHex(const QString& hex) { return QByteArray::fromHex(hex.toLatin1()); }

uint16_t ReferenceCrc(const QByteArray& bytes) {
    auto reflect = [](uint32_t v, int bits) {
        uint32_t r = 0;
        for (int i = 0; i < bits; ++i) r |= ((v >> i) & 1u) << (bits - 1 - i);
        return r;
    };
    uint32_t crc = 0xFFFF;
    for (char c : bytes) {
        crc ^= reflect(static_cast<uint8_t>(c), 8) << 8;
        for (int k = 0; k < 8; ++k) crc = ((crc << 1) ^ ((crc & 0x8000) ? 0x8005 : 0)) & 0xFFFF;
    }
    return static_cast<uint16_t>(reflect(crc, 16));
}

QByteArray WithCrc(const QByteArray& bytes) {
    const uint16_t crc = ReferenceCrc(bytes);
    return QByteArray(bytes).append(static_cast<char>(crc & 0xFF)).append(static_cast<char>(crc >> 8));
}

QByteArray WithLrc(const QByteArray& bytes) {
    int sum = 0;
    for (char c : bytes) sum += static_cast<uint8_t>(c);
    return ":" + (bytes + static_cast<char>(-sum & 0xFF)).toHex().toUpper() + "\r\n";
}

QByteArray WithMbap(const QByteArray& unitAndPdu, int tid, int pid, int length) {
    if (length < 0) length = static_cast<int>(unitAndPdu.size());
    QByteArray out;
    for (int v : {tid, pid, length}) out.append(static_cast<char>(v >> 8)).append(static_cast<char>(v & 0xFF));
    return out + unitAndPdu;
}

QByteArray ReadReplyBody(int address, int first, int count, const std::function<uint16_t(int)>& value) {
    QByteArray out;
    out.append(static_cast<char>(address)).append('\x03').append(static_cast<char>((2 * count) & 0xFF));
    for (int r = first; r < first + count; ++r) {
        const uint16_t v = value(r);
        out.append(static_cast<char>(v >> 8)).append(static_cast<char>(v & 0xFF));
    }
    return out;
}

}  // namespace qeltest
