#include "frames.h"

namespace qelsim {

uint16_t Crc16(const QByteArray& bytes) {
    uint16_t crc = 0xFFFF;
    for (char c : bytes) {
        crc ^= static_cast<uint8_t>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

uint8_t Lrc(const QByteArray& bytes) {
    uint8_t sum = 0;
    for (char c : bytes) sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(c));
    return static_cast<uint8_t>(-sum);
}

int RtuRequestLength(const QByteArray& buf) {
    if (buf.size() < 2) return 0;
    switch (static_cast<uint8_t>(buf[1])) {
        case 0x03:
        case 0x06:
            return 8;
        case 0x10:
            if (buf.size() < 7) return 0;
            return 9 + static_cast<uint8_t>(buf[6]);
        default:
            return -1;
    }
}

QByteArray RtuFrame(uint8_t address, const QByteArray& pdu) {
    QByteArray frame;
    frame.reserve(pdu.size() + 3);
    frame.append(static_cast<char>(address));
    frame.append(pdu);
    const uint16_t crc = Crc16(frame);
    frame.append(static_cast<char>(crc & 0xFF));
    frame.append(static_cast<char>(crc >> 8));
    return frame;
}

bool RtuCrcOk(const QByteArray& frame) {
    if (frame.size() < 4) return false;
    const uint16_t crc = Crc16(frame.left(frame.size() - 2));
    return static_cast<uint8_t>(frame[frame.size() - 2]) == (crc & 0xFF) &&
           static_cast<uint8_t>(frame[frame.size() - 1]) == (crc >> 8);
}

QByteArray Hex(const QByteArray& bytes) { return bytes.toHex().toUpper(); }

QByteArray AsciiFrame(uint8_t address, const QByteArray& pdu) {
    QByteArray body;
    body.append(static_cast<char>(address));
    body.append(pdu);
    body.append(static_cast<char>(Lrc(body)));
    return ":" + Hex(body) + "\r\n";
}

static int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

QByteArray AsciiDecode(const QByteArray& hexText) {
    if (hexText.size() % 2 != 0 || hexText.size() < 6) return {};
    QByteArray bytes;
    bytes.reserve(hexText.size() / 2);
    for (qsizetype i = 0; i < hexText.size(); i += 2) {
        const int hi = HexDigit(hexText[i]);
        const int lo = HexDigit(hexText[i + 1]);
        if (hi < 0 || lo < 0) return {};
        bytes.append(static_cast<char>(hi * 16 + lo));
    }
    // The LRC makes the sum of all bytes, itself included, zero.
    uint8_t sum = 0;
    for (char c : bytes) sum = static_cast<uint8_t>(sum + static_cast<uint8_t>(c));
    if (sum != 0) return {};
    bytes.chop(1);
    return bytes;
}

QByteArray TcpFrame(uint16_t transaction, uint8_t unit, const QByteArray& pdu) {
    const auto length = static_cast<uint16_t>(pdu.size() + 1);
    QByteArray adu;
    adu.reserve(pdu.size() + 7);
    adu.append(static_cast<char>(transaction >> 8));
    adu.append(static_cast<char>(transaction & 0xFF));
    adu.append('\0');
    adu.append('\0');
    adu.append(static_cast<char>(length >> 8));
    adu.append(static_cast<char>(length & 0xFF));
    adu.append(static_cast<char>(unit));
    adu.append(pdu);
    return adu;
}

TcpTakeResult TcpTake(QByteArray& buf, TcpRequest& out) {
    if (buf.size() < 7) return TcpTakeResult::NeedMore;
    auto word = [&](int at) {
        return static_cast<uint16_t>((static_cast<uint8_t>(buf[at]) << 8) | static_cast<uint8_t>(buf[at + 1]));
    };
    const uint16_t length = word(4);
    if (length < 2 || length > 254) return TcpTakeResult::Broken;
    if (buf.size() < 6 + length) return TcpTakeResult::NeedMore;
    out.transaction = word(0);
    out.protocol = word(2);
    out.unit = static_cast<uint8_t>(buf[6]);
    out.pdu = buf.mid(7, length - 1);
    buf.remove(0, 6 + length);
    return TcpTakeResult::Frame;
}

QByteArray ExceptionPdu(uint8_t function, uint8_t code) {
    QByteArray pdu;
    pdu.append(static_cast<char>(function | 0x80));
    pdu.append(static_cast<char>(code));
    return pdu;
}

}  // namespace qelsim
