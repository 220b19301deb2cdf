#include "modbus.h"

#include "clock.h"
#include "dec2hex.h"
#include "errorlog.h"
#include "link.h"
#include "runtime_error.h"
#include "state.h"
#include "vbtext.h"

#include <cstdlib>

namespace qel {

QByteArray FrameBytes;
int16_t CrcLo = 0;
int16_t CrcHi = 0;

namespace {

QByteArray HexPairs(const QString& text) {
    QByteArray out;
    out.reserve(text.size() / 2 + 2);
    for (int i = 1; i + 1 <= text.size(); i += 2)
        out.append(static_cast<char>(static_cast<int>(Val(QStringLiteral("&H") + Mid(text, i, 2))) & 0xFF));
    return out;
}

uint16_t Crc16(const QByteArray& bytes) {
    uint16_t crc = 0xFFFF;
    for (char b : bytes) {
        crc ^= static_cast<uint8_t>(b);
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? static_cast<uint16_t>((crc >> 1) ^ 0xA001) : static_cast<uint16_t>(crc >> 1);
    }
    return crc;
}

QString Hex2(int v) { return QString::number(v & 0xFF, 16).toUpper().rightJustified(2, u'0'); }

QString ToHexText(const QByteArray& bytes) { return QString::fromLatin1(bytes.toHex().toUpper()); }

int64_t SinceLastTick() { return std::abs(static_cast<int64_t>(AbsTickCount()) - LastTick); }

bool Connecting(int state) { return state == sck::Connecting || state == sck::Connected; }

void CountFailure(int16_t chamber, int lostAbove) {
    const int i = ChamberIndex(chamber);
    ++FailCount[i];
    if (FailCount[i] > lostAbove) CommError[i] = -1;
}

void CountSuccess(int16_t chamber) {
    const int i = ChamberIndex(chamber);
    CommError[i] = 0;
    FailCount[i] = 0;
}

void Trace(const QDateTime& start, int16_t chamber, const QString& body, const QString& reply) {
    if (CommDataSave != 1) return;
    WriteErrorLog(Format(start.time().msec(), QStringLiteral("000")) + QStringLiteral(" ADR:") +
                  ChamberAddress[ChamberIndex(chamber)] + QStringLiteral(" 송:") + body + QStringLiteral(" 수:") +
                  reply);
}

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

QString RtuExchange(const QString& expect, int16_t minLen, int16_t chamber, const QString& body, QString& received) {
    const QDateTime start = Now();
    if (!PrepareSerial(chamber)) return QString();
    CalcCRC(AddressDigits(chamber) + body);
    MSComm1->output(FrameBytes);
    if (expect.isEmpty()) {
        WaitSec(2.0 * PCSpeed / 1000.0);
        return QString();
    }
    WaitSec(PCSpeed / 1000.0);
    for (;;) {
        if (MSComm1->inBufferCount() > 0) {
            received += ToHexText(MSComm1->input());
        } else if (SinceLastTick() > PCSpeed) {
            break;
        }
        CurrentClock().sleepMs(1);
        DoEvents();
    }
    LastTick = AbsTickCount();
    QString result;
    if (!received.isEmpty()) {
        const QString crc = CrcText(received.left(received.size() - 4));
        if (received.right(4) == crc && Val(expect) == Val(QStringLiteral("&H") + Mid(received, 3, 4)) &&
            received.size() >= minLen) {
            result = received;
            CountSuccess(chamber);
        }
    }
    if (result.isEmpty()) CountFailure(chamber, 2);
    Trace(start, chamber, body, received);
    return result;
}

QString AscExchange(const QString& expect, int16_t minLen, int16_t chamber, const QString& body, QString& reply) {
    const QDateTime start = Now();
    if (!PrepareSerial(chamber)) return QString();
    const int address = static_cast<int>(Val(ChamberAddress[ChamberIndex(chamber)]));
    MSComm1->output(AsciiFrame(address, AddressDigits(chamber), body));
    if (expect.isEmpty()) {
        WaitSec(2.0 * PCSpeed / 1000.0);
        return QString();
    }
    WaitSec(PCSpeed / 1000.0);
    QByteArray raw;
    for (;;) {
        if (MSComm1->inBufferCount() > 0) {
            raw += MSComm1->input();
            // The reply text is what follows the leading ":".
            reply = QString::fromLatin1(raw.mid(1));
            if (reply.contains(QStringLiteral("\r\n"))) break;  // LastTick stays: the loop ends before the time check
        } else if (SinceLastTick() > PCSpeed) {
            LastTick = AbsTickCount();
            break;
        }
        CurrentClock().sleepMs(1);
        DoEvents();
    }
    if (!reply.isEmpty() && Val(expect) == Val(QStringLiteral("&H") + Mid(reply, 3, 4)) && reply.size() >= minLen)
        CountSuccess(chamber);
    else
        CountFailure(chamber, 3);
    Trace(start, chamber, body, reply);
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
        s->setRemotePort(RemotePort);
        s->connectToPeer();
        WaitSec(PCSpeed / 1000.0);
    }
    if (s->state() == sck::Connected) {
        RxText.clear();  // a late reply to an earlier request is never taken for this one
        s->sendData(TcpFrame(AddressDigits(chamber), body));
        WaitSec(PCSpeed / 1000.0);
        reply = RxText;
    }
    if (expect.isEmpty()) {  // a write shows nothing of the line's health
        RxText.clear();
        return QString();
    }
    if (!reply.isEmpty()) {
        CountSuccess(chamber);
        StatusPanel1.clear();
    } else {
        CountFailure(chamber, 3);
        MarkCheck(chamber);
        WriteErrorLog(QString::number(chamber) + QStringLiteral("   Communication state check"));
    }
    RxText.clear();
    Trace(start, chamber, body, reply);
    return reply;
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
        if (Protocol == u"RTU") return RtuExchange(expect, minLen, chamber, body, soFar);
        if (Protocol == u"ASC") return AscExchange(expect, minLen, chamber, body, soFar);
        if (Protocol == u"ETH") return EthExchange(expect, chamber, body, soFar);
        CommError[ChamberIndex(chamber)] = -1;
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
