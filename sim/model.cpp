#include "model.h"

#include <algorithm>
#include <cmath>

#include "frames.h"

namespace qelsim {

namespace {
uint16_t Word(const QByteArray& b, int at) {
    return static_cast<uint16_t>((static_cast<uint8_t>(b[at]) << 8) | static_cast<uint8_t>(b[at + 1]));
}
void PutWord(QByteArray& b, uint16_t v) {
    b.append(static_cast<char>(v >> 8));
    b.append(static_cast<char>(v & 0xFF));
}
}  // namespace

Chamber::Chamber(const ChamberConfig& config) : config_(config), regs_(65536, 0) {}

int Chamber::decimals(int channel) const {
    const auto i = static_cast<size_t>(channel - 1);
    return i < config_.decimals.size() ? config_.decimals[i] : 1;
}

void Chamber::setRegister(int address, uint16_t value) {
    put(address, value);
    if (frozen_) return;
    onWrite(static_cast<uint16_t>(address), value);
    advance(0);
}

void Chamber::setFrozen(bool frozen) {
    if (frozen_ && !frozen) {
        frozen_ = false;
        adoptMap();
        advance(0);
    }
    frozen_ = frozen;
}

void Chamber::step(const QDateTime& now) {
    if (!now_.isValid() || frozen_) {
        now_ = now;
        if (!frozen_) advance(0);
        return;
    }
    const qint64 ms = now_.msecsTo(now);
    if (ms <= 0) return;
    now_ = now;
    advance(ms / 1000.0);
}

QByteArray Chamber::handlePdu(const QByteArray& pdu) {
    if (pdu.isEmpty()) return {};
    switch (static_cast<uint8_t>(pdu[0])) {
        case 0x03:
            return readHolding(pdu);
        case 0x06:
            return writeSingle(pdu);
        case 0x10:
            return writeMultiple(pdu);
        default:
            return ExceptionPdu(static_cast<uint8_t>(pdu[0]), IllegalFunction);
    }
}

QByteArray Chamber::readHolding(const QByteArray& pdu) {
    if (pdu.size() != 5) return {};
    const int start = Word(pdu, 1);
    const int count = Word(pdu, 3);
    if (count < 1 || count > MaxReadCount) return ExceptionPdu(0x03, IllegalValue);
    if (start + count > 65536) return ExceptionPdu(0x03, IllegalAddress);
    QByteArray reply;
    reply.reserve(2 + 2 * count);
    reply.append('\x03');
    reply.append(static_cast<char>((2 * count) & 0xFF));
    for (int i = 0; i < count; ++i) PutWord(reply, regs_[start + i]);
    return reply;
}

QByteArray Chamber::writeSingle(const QByteArray& pdu) {
    if (pdu.size() != 5) return {};
    const int address = Word(pdu, 1);
    const uint16_t value = Word(pdu, 3);
    put(address, value);
    if (!frozen_) {
        onWrite(address, value);
        advance(0);
    }
    return pdu;  // the reply echoes the request
}

QByteArray Chamber::writeMultiple(const QByteArray& pdu) {
    if (pdu.size() < 6) return {};
    const int start = Word(pdu, 1);
    const int count = Word(pdu, 3);
    const int bytes = static_cast<uint8_t>(pdu[5]);
    if (pdu.size() != 6 + bytes) return {};
    if (count < 1 || count > MaxWriteCount || bytes != 2 * count) return ExceptionPdu(0x10, IllegalValue);
    if (start + count > 65536) return ExceptionPdu(0x10, IllegalAddress);
    for (int i = 0; i < count; ++i) put(start + i, Word(pdu, 6 + 2 * i));
    if (!frozen_) {
        for (int i = 0; i < count; ++i) onWrite(start + i, regs_[start + i]);
        advance(0);
    }
    return pdu.left(5);
}

uint16_t Chamber::toRaw(double v, int decimals) {
    const double scaled = std::round(v * std::pow(10.0, decimals));
    const double clipped = std::fmin(32767.0, std::fmax(-32768.0, scaled));
    return static_cast<uint16_t>(static_cast<int16_t>(clipped));
}

double Chamber::fromRaw(uint16_t raw, int decimals) { return static_cast<int16_t>(raw) / std::pow(10.0, decimals); }

double Chamber::ripple(int channel, double amplitude) const {
    if (!config_.noise || !now_.isValid()) return 0;
    // splitmix64 of (seed, address, channel, second): the same second always
    // gives the same ripple, however the steps were cut.
    uint64_t x = (static_cast<uint64_t>(config_.seed) << 40) ^ (static_cast<uint64_t>(config_.address) << 32) ^
                 (static_cast<uint64_t>(channel) << 28) ^ static_cast<uint64_t>(now_.toSecsSinceEpoch());
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    x ^= x >> 31;
    const double unit = static_cast<double>(x >> 11) / static_cast<double>(1ULL << 53);  // [0, 1)
    return amplitude * (2.0 * unit - 1.0);
}

void Chamber::putEndDate(int first, double secondsToEnd) {
    QDateTime end;
    if (secondsToEnd >= 0 && now_.isValid()) end = now_.addSecs(static_cast<qint64>(std::ceil(secondsToEnd)));
    const QDate d = end.isValid() ? end.date() : QDate(1970, 1, 1);
    const QTime t = end.isValid() ? end.time() : QTime(0, 0);
    put(first, static_cast<uint16_t>(d.year()));
    put(first + 1, static_cast<uint16_t>(d.month()));
    put(first + 2, static_cast<uint16_t>(d.day()));
    put(first + 3, static_cast<uint16_t>(t.hour()));
    put(first + 4, static_cast<uint16_t>(t.minute()));
}

void Chamber::putRunTime(int first, double seconds) {
    const auto run = static_cast<int64_t>(seconds);
    put(first, static_cast<uint16_t>(std::min<int64_t>(run / 3600, 0xFFFF)));
    put(first + 1, static_cast<uint16_t>(run % 3600 / 60));
    put(first + 2, static_cast<uint16_t>(run % 60));
}

ChannelPhysics TemperatureLoop() {
    ChannelPhysics p;
    p.ambient = 23.0;
    p.low = -70.0;
    p.high = 180.0;
    p.program = {{40.0, 600}, {40.0, 1200}, {-10.0, 900}, {-10.0, 900}, {25.0, 600}};
    return p;
}

ChannelPhysics HumidityLoop() {
    ChannelPhysics p;
    p.ambient = 45.0;
    p.low = 0.0;
    p.high = 100.0;
    p.program = {{60.0, 600}, {85.0, 1200}, {85.0, 900}, {50.0, 900}, {50.0, 600}};
    return p;
}

}  // namespace qelsim
