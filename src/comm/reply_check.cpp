#include "reply_check.h"

namespace qel {

namespace {

int Byte(const QByteArray& b, qsizetype i) { return static_cast<uint8_t>(b[i]); }

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Address, function, count and data, checked the same way on every framing;
// `pdu` starts at the address (serial) or the unit id (TCP).
ReplyFault CheckBody(const QByteArray& pdu, const ReadRequest& r) {
    if (pdu.size() < 2) return ReplyFault::Incomplete;
    if (Byte(pdu, 0) != (r.address & 0xFF)) return ReplyFault::Address;
    if (Byte(pdu, 1) == (r.function | 0x80)) return ReplyFault::Exception;
    if (Byte(pdu, 1) != r.function) return ReplyFault::Function;
    if (pdu.size() < 3) return ReplyFault::Incomplete;
    if (Byte(pdu, 2) != (r.dataBytes & 0xFF)) return ReplyFault::ByteCount;
    if (pdu.size() < 3 + r.dataBytes) return ReplyFault::Incomplete;
    if (pdu.size() > 3 + r.dataBytes) return ReplyFault::TooLong;
    return ReplyFault::None;
}

}  // namespace

uint16_t Crc16(const QByteArray& bytes, qsizetype n) {
    if (n < 0) n = bytes.size();
    uint16_t crc = 0xFFFF;
    for (qsizetype i = 0; i < n; ++i) {
        crc ^= static_cast<uint8_t>(bytes[i]);
        for (int k = 0; k < 8; ++k) crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : crc >> 1;
    }
    return crc;
}

std::optional<ReadRequest> ReadRequestOf(int address, const QString& body) {
    bool ok = false;
    const int function = body.left(2).toInt(&ok, 16);
    if (!ok || function != 0x03 || body.size() < 10) return std::nullopt;
    const int count = body.mid(6, 4).toInt(&ok, 16);
    if (!ok || count < 1) return std::nullopt;
    return ReadRequest{address, function, 2 * count};
}

QString ReplyFaultText(ReplyFault fault) {
    switch (fault) {
        case ReplyFault::None:
            return QString();
        case ReplyFault::Empty:
            return QStringLiteral("no reply");
        case ReplyFault::Incomplete:
            return QStringLiteral("reply incomplete");
        case ReplyFault::TooLong:
            return QStringLiteral("reply too long");
        case ReplyFault::Framing:
            return QStringLiteral("reply framing wrong");
        case ReplyFault::Checksum:
            return QStringLiteral("reply checksum wrong");
        case ReplyFault::Address:
            return QStringLiteral("reply from another address");
        case ReplyFault::Exception:
            return QStringLiteral("exception reply");
        case ReplyFault::Function:
            return QStringLiteral("reply of another function");
        case ReplyFault::ByteCount:
            return QStringLiteral("reply byte count wrong");
        case ReplyFault::TransactionId:
            return QStringLiteral("reply of another transaction");
        case ReplyFault::ProtocolId:
            return QStringLiteral("reply protocol id wrong");
        case ReplyFault::Length:
            return QStringLiteral("reply length field wrong");
    }
    return QString();
}

int RtuReplyBytes(const ReadRequest& r) { return 3 + r.dataBytes + 2; }
int AsciiReplyChars(const ReadRequest& r) { return 1 + 2 * (3 + r.dataBytes + 1) + 2; }
int TcpReplyBytes(const ReadRequest& r) { return 6 + 3 + r.dataBytes; }

ReplyFault CheckRtuReply(const QByteArray& frame, const ReadRequest& r) {
    if (frame.isEmpty()) return ReplyFault::Empty;
    if (frame.size() > RtuReplyBytes(r)) return ReplyFault::TooLong;
    // An exception reply is short and whole: check its CRC before calling it one.
    if (frame.size() < 4) return ReplyFault::Incomplete;
    const qsizetype n = frame.size() - 2;
    const uint16_t crc = Crc16(frame, n);
    if (Byte(frame, n) != (crc & 0xFF) || Byte(frame, n + 1) != (crc >> 8))
        return frame.size() < RtuReplyBytes(r) ? ReplyFault::Incomplete : ReplyFault::Checksum;
    return CheckBody(frame.left(n), r);
}

ReplyFault CheckAsciiReply(const QByteArray& frame, const ReadRequest& r) {
    if (frame.isEmpty()) return ReplyFault::Empty;
    if (frame.size() > AsciiReplyChars(r)) return ReplyFault::TooLong;
    if (frame[0] != ':') return ReplyFault::Framing;
    if (!frame.endsWith("\r\n")) return ReplyFault::Incomplete;
    const QByteArray hex = frame.mid(1, frame.size() - 3);
    if (hex.size() % 2 != 0 || hex.size() < 6) return ReplyFault::Framing;
    QByteArray bytes;
    for (qsizetype i = 0; i < hex.size(); i += 2) {
        const int hi = HexDigit(hex[i]);
        const int lo = HexDigit(hex[i + 1]);
        if (hi < 0 || lo < 0) return ReplyFault::Framing;
        bytes.append(static_cast<char>(hi * 16 + lo));
    }
    int sum = 0;
    for (qsizetype i = 0; i + 1 < bytes.size(); ++i) sum += Byte(bytes, i);
    if (((-sum) & 0xFF) != Byte(bytes, bytes.size() - 1)) return ReplyFault::Checksum;
    return CheckBody(bytes.left(bytes.size() - 1), r);
}

ReplyFault CheckTcpReply(const QByteArray& frame, const ReadRequest& r) {
    if (frame.isEmpty()) return ReplyFault::Empty;
    if (frame.size() < 6) return ReplyFault::Incomplete;
    if ((Byte(frame, 0) << 8 | Byte(frame, 1)) != kTcpTransactionId) return ReplyFault::TransactionId;
    if ((Byte(frame, 2) << 8 | Byte(frame, 3)) != 0) return ReplyFault::ProtocolId;
    const int length = Byte(frame, 4) << 8 | Byte(frame, 5);
    if (frame.size() - 6 > length) return ReplyFault::TooLong;  // a second frame behind the first
    if (frame.size() - 6 < length) return ReplyFault::Incomplete;
    const ReplyFault body = CheckBody(frame.mid(6), r);
    if (body != ReplyFault::None) return body;
    return length == 3 + r.dataBytes ? ReplyFault::None : ReplyFault::Length;
}

}  // namespace qel
