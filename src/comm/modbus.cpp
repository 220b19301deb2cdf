#include "modbus.h"

#include "clock.h"
#include "dec2hex.h"
#include "errorlog.h"
#include "link.h"
#include "reply_check.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <algorithm>
#include <cstdlib>

namespace qel {

QByteArray FrameBytes;
int16_t CrcLo = 0;
int16_t CrcHi = 0;

namespace {

QByteArray HexPairs(const QString& text) {
    QByteArray out;
    out.reserve(text.size() / 2 + 2);
    for (int i = 1; i + 1 <= text.size(); i += 2) {
        // Two hex digits are read directly; anything else the way Val reads "&H" text.
        const int hi = HexDigitValue(text[i - 1].unicode()), lo = HexDigitValue(text[i].unicode());
        const int byte = hi >= 0 && lo >= 0 ? hi << 4 | lo : static_cast<int>(Val(QStringLiteral("&H") + Mid(text, i, 2)));
        out.append(static_cast<char>(byte & 0xFF));
    }
    return out;
}

constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

QString Hex2(int v) {
    const QChar pair[2] = {QChar(kHexDigits[(v >> 4) & 0xF]), QChar(kHexDigits[v & 0xF])};
    return QString(pair, 2);
}

QString ToHexText(const QByteArray& bytes) {
    QString out(bytes.size() * 2, Qt::Uninitialized);
    QChar* d = out.data();
    for (const char b : bytes) {
        *d++ = QChar(kHexDigits[static_cast<uint8_t>(b) >> 4]);
        *d++ = QChar(kHexDigits[static_cast<uint8_t>(b) & 0xF]);
    }
    return out;
}

int64_t SinceLastTick() { return std::abs(static_cast<int64_t>(AbsTickCount()) - LastTick); }

bool Connecting(int state) { return state == sck::Connecting || state == sck::Connected; }

// A serial read gives up after this many PCSpeed from the send, whatever the
// line keeps sending: one babbling device must not hold the whole line.
constexpr int kReadBoundInPCSpeed = 3;

void CountFailure(int16_t chamber, int lostAbove) {
    const int i = ChamberIndex(chamber);
    if (FailCount[i] < INT16_MAX) ++FailCount[i];  // stays at the top instead of wrapping
    if (FailCount[i] > lostAbove) CommError[i] = -1;
}

void CountSuccess(int16_t chamber) {
    const int i = ChamberIndex(chamber);
    CommError[i] = 0;
    FailCount[i] = 0;
}

// The exchange trace. `why` stands where the last failure's description goes:
// empty for a good exchange, the reason a reply was refused otherwise.
void Trace(const QString& why, const QDateTime& start, int16_t chamber, const QString& body, const QString& reply) {
    if (CommDataSave != 1) return;
    TryWriteErrorLog(why + Format(start.time().msec(), QStringLiteral("000")) + QStringLiteral(" ADR:") +
                     ChamberAddress[ChamberIndex(chamber)] + QStringLiteral(" 송:") + body + QStringLiteral(" 수:") +
                     reply);
}

int AddressByte(int16_t chamber) { return AddressDigits(chamber).toInt(nullptr, 16); }

// The read a body asks for; a body that is no register read is checked for
// its frame only, with room for the longest reply a register read can have.
ReadRequest RequestOf(int16_t chamber, const QString& body) {
    if (const auto r = ReadRequestOf(AddressByte(chamber), body)) return *r;
    return ReadRequest{AddressByte(chamber), static_cast<int>(Val(QStringLiteral("&H") + Mid(body, 1, 2))), 255};
}

// The value the caller expects ("&H3F0") against chars 3 to 6 of the reply.
bool AsExpected(const QString& expect, const QString& reply) {
    return Val(expect) == Val(QStringLiteral("&H") + Mid(reply, 3, 4));
}

QString Refused(ReplyFault fault) { return ReplyFaultText(fault) + u' '; }

// Steps common to both serial protocols before the send: returns false when
// the exchange must leave at once with an empty result.
bool PrepareSerial(int16_t chamber) {
    if (MSComm1) MSComm1->clearInBuffer();
    if (!MSComm1 || !MSComm1->portOpen()) {
        if (CommTestRunning) return false;
        if (OpenLink() != -1) CommError[ChamberIndex(chamber)] = -1;
        return false;
    }
    // Closing and reopening on every exchange cleans the line of whatever an
    // earlier exchange left in it.
    ClosePort(PortNumber);
    OpenLink();
    return true;
}

// Collects a serial reply: ends when `complete` says the bytes are a whole
// reply or more, when nothing is waiting and PCSpeed has passed since the
// last exchange, or at the read bound. Never sleeps before the round that
// ends it. False when the program is ending meanwhile.
template <typename Complete>
bool ReceiveSerial(QByteArray& bytes, int keep, int64_t sentAt, Complete complete, bool asciiEndsLastTick) {
    Clock& clock = CurrentClock();
    for (;;) {
        if (ProgramEnding()) return false;
        if (MSComm1->inBufferCount() > 0) {
            const QByteArray in = MSComm1->input();
            bytes += in.left(std::max<qsizetype>(0, keep - bytes.size()));
            if (complete(bytes)) return true;
        } else if (SinceLastTick() > PCSpeed) {
            if (asciiEndsLastTick) LastTick = AbsTickCount();
            return true;
        }
        if (clock.elapsedMs() - sentAt > int64_t{kReadBoundInPCSpeed} * PCSpeed) return true;
        clock.sleepMs(1);
        DoEvents();
    }
}

// The wait for a serial reply: PCSpeed as ever, or with FastReply only
// until the bytes in are the whole reply the request asks for, checksum
// included. True when it ended so: the reply needs no more collecting.
template <typename Whole>
bool WaitForReply(QByteArray& bytes, int keep, Whole whole) {
    if (FastReply != 1) {
        WaitSec(PCSpeed / 1000.0);
        return false;
    }
    return WaitSecUntil(PCSpeed / 1000.0, [&] {
        if (MSComm1 && MSComm1->portOpen() && MSComm1->inBufferCount() > 0)
            bytes += MSComm1->input().left(std::max<qsizetype>(0, keep - bytes.size()));
        return whole(bytes);
    });
}

QString RtuExchange(const QString& expect, int16_t minLen, int16_t chamber, const QString& body, QString& received) {
    const QDateTime start = Now();
    if (!PrepareSerial(chamber) || ProgramEnding()) return QString();
    CalcCRC(AddressDigits(chamber) + body);
    MSComm1->output(FrameBytes);
    if (expect.isEmpty()) {
        WaitSec(2.0 * PCSpeed / 1000.0);
        return QString();
    }
    const int64_t sentAt = CurrentClock().elapsedMs();
    const ReadRequest request = RequestOf(chamber, body);
    const int whole = RtuReplyBytes(request);
    QByteArray bytes;
    const bool early = WaitForReply(bytes, whole + 1, [&](const QByteArray& b) {
        return b.size() == whole && CheckRtuReply(b, request) == ReplyFault::None;
    });
    if (!early &&
        !ReceiveSerial(bytes, whole + 1, sentAt, [&](const QByteArray& b) { return b.size() >= whole; }, false))
        return QString();
    LastTick = AbsTickCount();
    received = ToHexText(bytes);
    ReplyFault fault = CheckRtuReply(bytes, request);
    if (fault == ReplyFault::None && (!AsExpected(expect, received) || received.size() < minLen))
        fault = ReplyFault::Incomplete;
    QString result;
    if (fault == ReplyFault::None) {
        result = received;
        CountSuccess(chamber);
    } else {
        CountFailure(chamber, 2);
    }
    Trace(fault == ReplyFault::None ? QString() : Refused(fault), start, chamber, body, received);
    return result;
}

QString AscExchange(const QString& expect, int16_t minLen, int16_t chamber, const QString& body, QString& reply) {
    const QDateTime start = Now();
    if (!PrepareSerial(chamber) || ProgramEnding()) return QString();
    const int address = static_cast<int>(Val(ChamberAddress[ChamberIndex(chamber)]));
    MSComm1->output(AsciiFrame(address, AddressDigits(chamber), body));
    if (expect.isEmpty()) {
        WaitSec(2.0 * PCSpeed / 1000.0);
        return QString();
    }
    const int64_t sentAt = CurrentClock().elapsedMs();
    const ReadRequest request = RequestOf(chamber, body);
    const int whole = AsciiReplyChars(request);
    QByteArray raw;
    const bool early = WaitForReply(raw, whole + 1, [&](const QByteArray& b) {
        return b.size() == whole && CheckAsciiReply(b, request) == ReplyFault::None;
    });
    // The loop ends at CR LF without touching LastTick, as it always has.
    auto complete = [&](const QByteArray& b) { return b.size() >= whole || b.contains("\r\n"); };
    if (!early && !ReceiveSerial(raw, whole + 1, sentAt, complete, true)) return QString();
    reply = QString::fromLatin1(raw.mid(1));  // the reply text is what follows the leading ":"
    ReplyFault fault = CheckAsciiReply(raw, request);
    if (fault == ReplyFault::None && (!AsExpected(expect, reply) || reply.size() < minLen))
        fault = ReplyFault::Incomplete;
    if (fault == ReplyFault::None)
        CountSuccess(chamber);
    else
        CountFailure(chamber, 3);
    Trace(fault == ReplyFault::None ? QString() : Refused(fault), start, chamber, body, reply);
    return reply;  // returned good or bad: callers test FailCount
}

void MarkCheck(int16_t chamber) {
    StatusPanel1 = QStringLiteral("Address number. ") + QString::number(chamber) +
                   QStringLiteral("     Communication status check");
}

QString EthExchange(const QString& expect, int16_t chamber, const QString& body, QString& reply) {
    const QDateTime start = Now();
    const int i = ChamberIndex(chamber);
    TcpSocket* s = Winsock[i].get();
    if (!s) throw RuntimeError(err::DeviceUnavailable);
    if (!Connecting(s->state())) {
        s->close();
        s->setRemoteHost(ChamberIP[i]);
        s->setRemotePort(static_cast<uint16_t>(RemotePort));
        s->connectToPeer();
        WaitSec(PCSpeed / 1000.0);
    }
    if (ProgramEnding()) return QString();
    QByteArray bytes;
    bool sent = false;
    if (s->state() == sck::Connected) {
        RxBytes.clear();
        RxSocket = i;  // from here on, and only for this socket, data is the reply
        s->sendData(TcpFrame(AddressDigits(chamber), body));
        sent = true;
        if (FastReply == 1 && !expect.isEmpty()) {
            // Ends once a whole frame by its length field is in.
            WaitSecUntil(PCSpeed / 1000.0, [] {
                return RxBytes.size() >= 6 && RxBytes.size() >= 6 + (uint8_t(RxBytes[4]) << 8 | uint8_t(RxBytes[5]));
            });
        } else {
            WaitSec(PCSpeed / 1000.0);
        }
        RxSocket = -1;
        bytes = RxBytes;
        RxBytes.clear();
        reply = ToHexText(bytes).mid(12);  // from the unit id on: the header's 12 digits dropped
    }
    if (ProgramEnding()) return QString();
    if (expect.isEmpty()) {  // a write shows nothing of the line's health
        Trace(QString(), start, chamber, body, reply);
        return QString();
    }
    ReplyFault fault = CheckTcpReply(bytes, RequestOf(chamber, body));
    if (fault == ReplyFault::None && !AsExpected(expect, reply)) fault = ReplyFault::ByteCount;
    if (fault == ReplyFault::None) {
        CountSuccess(chamber);
        StatusPanel1.clear();
    } else {
        CountFailure(chamber, 3);
        MarkCheck(chamber);
        TryWriteErrorLog(QString::number(chamber) + QStringLiteral("   Communication state check"));
        // Whatever this request still gets would land in a later one's wait:
        // a fresh connection carries nothing of it.
        if (sent && Winsock[i]) Winsock[i]->close();
    }
    Trace(fault == ReplyFault::None ? QString() : Refused(fault), start, chamber, body, reply);
    return fault == ReplyFault::None ? reply : QString();
}

// A read may also go to an empty address or 0 (frame address 00, which no
// controller answers); a write never: 0 is the broadcast.
bool ReadableAddress(const QString& text) {
    const QString t = text.trimmed();
    return t.isEmpty() || t == u"0" || IsSlaveAddress(t);
}

// A run-time failure inside the exchange: the chamber is lost and the frame
// so far goes to the error log.
void LostInTheMiddle(int16_t chamber, const QString& what, const QString& body, const QString& soFar) {
    if (chamber >= 1 && chamber <= kMaxChambers) CommError[chamber - 1] = -1;
    ErrorTail(what, QStringLiteral("ADR:") + QString::number(chamber) + QStringLiteral(" 송") + body +
                        QStringLiteral(" 수:") + soFar);
}

}  // namespace

void CalcCRC(const QString& text) {
    try {
        FrameBytes = HexPairs(text);
        const uint16_t crc = Crc16(FrameBytes);
        CrcLo = static_cast<int16_t>(crc & 0xFF);
        CrcHi = static_cast<int16_t>(crc >> 8);
        FrameBytes.append(static_cast<char>(CrcLo));
        FrameBytes.append(static_cast<char>(CrcHi));
    } catch (const std::exception& e) {
        ErrorTail(QString::fromUtf8(e.what()), QStringLiteral("Modbus CRC error"));
    }
}

QString CrcText(const QString& text) {
    const uint16_t crc = Crc16(HexPairs(text));
    return Hex2(crc & 0xFF) + Hex2(crc >> 8);
}

QString ModbusLRC(int address, const QString& body) {
    int32_t sum = address;
    for (int i = 1; i + 1 <= body.size(); i += 2) {
        sum += static_cast<int32_t>(Val(QStringLiteral("&H") + Mid(body, i, 2)));
        if (sum > 32767 || sum < -32768) throw RuntimeError(err::Overflow);
    }
    const QString hex = QString::number((sum ^ 255) + 1, 16).toUpper();
    return hex.size() == 1 ? QStringLiteral("0") + hex : hex.right(2);
}

QString AddressDigits(int16_t chamber) {
    // A plain decimal address (the form the settings hold) is turned into its
    // two hex digits here; anything else goes the long way, with its error-log line.
    if (chamber >= 1 && chamber <= kMaxChambers) {
        const QString& text = ChamberAddress[chamber - 1];
        bool digits = !text.isEmpty() && text.size() <= 3;
        for (QChar c : text) digits = digits && c.isDigit() && c.unicode() < 128;
        if (const int v = digits ? text.toInt() : 256; v <= 255) return Hex2(v);
    }
    return Dec2Hex(static_cast<float>(Val(ChamberAddress[ChamberIndex(chamber)])), 0, chamber).right(2);
}

QByteArray AsciiFrame(int address, const QString& addressDigits, const QString& body) {
    return (QStringLiteral(":") + addressDigits + body + ModbusLRC(address, body) + QStringLiteral("\r\n")).toLatin1();
}

QByteArray TcpFrame(const QString& addressDigits, const QString& body) {
    const QString length = QString::number(body.size() / 2 + 1, 16).toUpper().rightJustified(4, u'0');
    return HexPairs(QStringLiteral("12340000") + length + addressDigits + body);
}

QString ModbusTransact(const QString& expect, int16_t& minLen, int16_t chamber, int16_t /*addrNo*/,
                       const QString& body) {
    QString soFar;
    try {
        if (ProgramEnding()) return QString();
        const int i = ChamberIndex(chamber);
        if (expect.isEmpty() && !IsSlaveAddress(ChamberAddress[i])) {
            TryWriteErrorLog(QStringLiteral("ADR:") + QString::number(chamber) + QStringLiteral(" address \"") +
                             ChamberAddress[i] + QStringLiteral("\" is no slave address, not sent 송:") + body);
            return QString();
        }
        if (!expect.isEmpty() && !ReadableAddress(ChamberAddress[i])) {
            // Its low byte would ask another controller: 300 would read controller 44.
            CountFailure(chamber, Protocol == u"RTU" ? 2 : 3);
            return QString();
        }
        if (Protocol == u"RTU") return RtuExchange(expect, minLen, chamber, body, soFar);
        if (Protocol == u"ASC") return AscExchange(expect, minLen, chamber, body, soFar);
        if (Protocol == u"ETH") return EthExchange(expect, chamber, body, soFar);
        CommError[i] = -1;
        MarkCheck(chamber);
        return QString();
    } catch (const RuntimeError& e) {
        LostInTheMiddle(chamber, e.description(), body, soFar);
    } catch (const std::exception& e) {
        LostInTheMiddle(chamber, QString::fromUtf8(e.what()), body, soFar);
    }
    return QString();
}

}  // namespace qel
