// The serial exchange on a scripted port with a manual clock: validation,
// failure counts, writes, the reopen on every exchange and the trace line.
#include "app_dir.h"
#include "clock.h"
#include "errorlog.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;
using qeltest::FromHex;
using qeltest::WithCrc;

namespace {

QByteArray Block1Reply(int address) {
    return qeltest::ReadReplyBody(address, 2, 120, [](int r) { return static_cast<uint16_t>(r); });
}

QString Hex(const QByteArray& b) { return QString::fromLatin1(b.toHex().toUpper()); }

QByteArray AsciiOf(const QByteArray& body) {
    int sum = 0;
    for (char c : body) sum += static_cast<uint8_t>(c);
    const QByteArray lrc = QByteArray::number((-sum) & 0xFF, 16).toUpper().rightJustified(2, '0');
    return ":" + body.toHex().toUpper() + lrc + "\r\n";
}

class SerialExchange : public ::testing::Test {
protected:
    void SetUp() override {
        clock.set(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7, 45)));
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        Protocol = "RTU";
        PCSpeed = 300;
        ChamberAddress[0] = "1";
        OpenLink();
    }
    void TearDown() override {
        RemoveLink();
        CommTestRunning = false;
        SetClock(nullptr);
    }
    QString Read(int16_t minLen = 490, const QString& body = "0300020078") {
        return ModbusTransact("&H3F0", minLen, 1, 1, body);
    }
    QString ErrorLog() const { return dir.errorLog(); }

    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
};

}  // namespace

TEST_F(SerialExchange, RtuGoodReadReturnsTheWholeReplyAndClearsCounters) {
    port->reply = [](const QByteArray&) { return WithCrc(Block1Reply(1)); };
    FailCount[0] = 2;
    CommError[0] = -1;
    const QString r = Read();
    EXPECT_EQ(r, Hex(WithCrc(Block1Reply(1))));
    EXPECT_EQ(r.size(), 490);
    EXPECT_EQ(r.left(6), "0103F0");
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(CommError[0], 0);
    ASSERT_EQ(port->sent.size(), 1);
    EXPECT_EQ(port->sent[0], WithCrc(FromHex("010300020078")));
    EXPECT_EQ(port->settings, "9600,n,8,1");
}

TEST_F(SerialExchange, RtuReopensThePortOnEveryExchange) {
    port->reply = [](const QByteArray&) { return WithCrc(Block1Reply(1)); };
    const int opens = port->opens;
    Read();
    Read();
    EXPECT_EQ(port->opens, opens + 2);
    EXPECT_EQ(port->closes, 2);
}

TEST_F(SerialExchange, RtuIsLostAtTheThirdBadReadAndCountsOn) {
    QByteArray bad = WithCrc(Block1Reply(1));
    bad[bad.size() - 1] = static_cast<char>(bad.back() ^ 0x01);
    port->reply = [&](const QByteArray&) { return bad; };
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(FailCount[0], 1);
    EXPECT_EQ(CommError[0], 0);
    Read();
    EXPECT_EQ(CommError[0], 0);
    Read();
    EXPECT_EQ(FailCount[0], 3);
    EXPECT_EQ(CommError[0], -1);
    Read();
    EXPECT_EQ(FailCount[0], 4);
    port->reply = [](const QByteArray&) { return WithCrc(Block1Reply(1)); };
    EXPECT_FALSE(Read().isEmpty());
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(CommError[0], 0);
}

TEST_F(SerialExchange, WriteWaitsTwicePcSpeedAndNeverTouchesCounters) {
    int asked = 0;
    port->reply = [&](const QByteArray&) { ++asked; return QByteArray(); };
    FailCount[0] = 5;
    CommError[0] = -1;
    int16_t minLen = 4;
    const int64_t t0 = clock.elapsedMs();
    EXPECT_EQ(ModbusTransact("", minLen, 1, 1, "0600650004"), "");
    EXPECT_EQ(clock.elapsedMs() - t0, 600);
    EXPECT_EQ(FailCount[0], 5);
    EXPECT_EQ(CommError[0], -1);
    EXPECT_EQ(port->sent.last(), WithCrc(FromHex("010600650004")));
}

TEST_F(SerialExchange, ClosedPortDuringTheLineTestLeavesAtOnce) {
    ClosePort(PortNumber);
    CommTestRunning = true;
    EXPECT_EQ(Read(), "");
    EXPECT_TRUE(port->sent.isEmpty());
    EXPECT_FALSE(port->portOpen());
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(CommError[0], 0);
}

TEST_F(SerialExchange, ClosedPortThatWillNotOpenMarksTheChamberLostOncePerExchange) {
    ClosePort(PortNumber);
    port->failOpen = true;
    EXPECT_EQ(Read(), "");
    EXPECT_EQ(Read(), "");
    EXPECT_TRUE(port->sent.isEmpty());
    EXPECT_EQ(CommError[0], -1);
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(ErrorLog().count("Device unavailableSerial port error(Open)\r\n"), 2);
}

TEST_F(SerialExchange, AscGoodReplyKeepsItsTextWithoutTheColon) {
    Protocol = "ASC";
    const QByteArray reply = AsciiOf(Block1Reply(1));
    port->reply = [&](const QByteArray&) { return reply; };
    const QString r = Read();
    EXPECT_EQ(r, QString::fromLatin1(reply.mid(1)));
    EXPECT_EQ(r.size(), 490);
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(port->sent.last(), QByteArray(":01030002007882\r\n"));
}

TEST_F(SerialExchange, AscReplyWithAWrongLrcIsAFailedRead) {
    Protocol = "ASC";
    QByteArray reply = AsciiOf(Block1Reply(1));
    reply[reply.size() - 3] = reply[reply.size() - 3] == '0' ? '1' : '0';
    port->reply = [&](const QByteArray&) { return reply; };
    Read();
    EXPECT_EQ(FailCount[0], 1);
}

TEST_F(SerialExchange, AscBadReplyIsReturnedAndLostAtTheFourth) {
    Protocol = "ASC";
    const QByteArray reply = AsciiOf(FromHex("018302"));
    port->reply = [&](const QByteArray&) { return reply; };
    EXPECT_EQ(Read(), "018302" + QString::fromLatin1(reply.right(4)));
    Read();
    Read();
    EXPECT_EQ(FailCount[0], 3);
    EXPECT_EQ(CommError[0], 0);
    Read();
    EXPECT_EQ(CommError[0], -1);
}

TEST_F(SerialExchange, TraceLineWhenAskedFor) {
    CommDataSave = 1;
    port->reply = [](const QByteArray&) { return WithCrc(FromHex("0103020001")); };
    int16_t minLen = 14;
    const QString r = ModbusTransact("&H302", minLen, 1, 1, "0300090001");
    EXPECT_EQ(r, "0103020001" + Hex(WithCrc(FromHex("0103020001"))).right(4));
    EXPECT_TRUE(ErrorLog().contains("  045 ADR:1 송:0300090001 수:" + r + "\r\n")) << ErrorLog().toStdString();
    // A refused reply says why, where the failure's description goes.
    port->reply = [](const QByteArray&) { return WithCrc(FromHex("0203020001")); };
    ModbusTransact("&H302", minLen, 1, 1, "0300090001");
    EXPECT_TRUE(ErrorLog().contains("  reply from another address 345 ADR:1 송:0300090001 수:0203020001"))
        << ErrorLog().toStdString();
}

TEST_F(SerialExchange, RunTimeFailureInsideIsLoggedWithTheFrame) {
    EXPECT_EQ(Read(490, "0300020078"), "");
    int16_t minLen = 490;
    EXPECT_EQ(ModbusTransact("&H3F0", minLen, 31, 1, "0300020078"), "");
    EXPECT_TRUE(ErrorLog().contains("  Subscript out of rangeADR:31 송0300020078 수:\r\n")) << ErrorLog().toStdString();
}

// A peer that answers late, between 1.2 and 2 times PCSpeed: its reply
// lands in the wait of the next request. Whatever that request gets, it
// must not be the late frame decoded as its own reply.
TEST_F(SerialExchange, LateReplyIsNeverTakenForTheNextRequest) {
    for (const char* protocol : {"RTU", "ASC"}) {
        Protocol = protocol;
        for (int late : {360, 450, 600}) {
            port->replyAfterMs = late;
            port->reply = [&](const QByteArray& req) {
                // Block 1 asks for 0x78 registers, block 2 for 0x52: answer each in kind.
                const bool block2 = Protocol == "RTU" ? req.size() > 4 && req[2] == '\x03'
                                                      : req.mid(5, 4) == "039C";
                const QByteArray body = block2 ? qeltest::ReadReplyBody(1, 0x39C, 0x52, [](int) { return 0x7E4; })
                                               : Block1Reply(1);
                return Protocol == "RTU" ? WithCrc(body) : AsciiOf(body);
            };
            FailCount[0] = 0;
            CommError[0] = 0;
            int16_t minLen = 334;
            EXPECT_EQ(ModbusTransact("&H3A4", minLen, 1, 1, "03039C0052"), "") << protocol << late;
            const QString r = Read();
            // ASC hands a refused reply back as well; the failure count is what callers test.
            EXPECT_GE(FailCount[0], 1) << protocol << late;
            if (Protocol == "RTU") {
                EXPECT_FALSE(r.startsWith("0103A4")) << late;
            }
            clock.advanceMs(1000);  // whatever is still on the wire arrives and is cleared
            port->replyAfterMs = 0;
            Read();
        }
    }
}

// Misbehaviours a controller shows on a serial line, each framed properly
// (CRC or LRC right): every one is a failed read, and RTU gives nothing back.
// The frame checks themselves are tabled in test_reply_check.
TEST_F(SerialExchange, EveryAbnormalReplyIsAFailedRead) {
    const QByteArray good = Block1Reply(1);
    const struct {
        const char* what;
        QByteArray body;
        int copies;
    } rows[] = {
        {"another slave", Block1Reply(2), 1},
        {"exception", FromHex("018304"), 1},
        {"another function", FromHex("0104F0") + good.mid(3), 1},
        {"header alone", good.left(3), 1},
        {"half", good.left(good.size() / 2), 1},
        {"twice", good, 2},
        {"silence", QByteArray(), 0},
    };
    for (const char* protocol : {"RTU", "ASC"}) {
        Protocol = protocol;
        for (const auto& r : rows) {
            port->reply = [&](const QByteArray&) {
                return (Protocol == "RTU" ? WithCrc(r.body) : AsciiOf(r.body)).repeated(r.copies);
            };
            FailCount[0] = 0;
            const QString result = Read();
            EXPECT_EQ(FailCount[0], 1) << protocol << " " << r.what;
            if (Protocol == "RTU") {
                EXPECT_EQ(result, "") << r.what;
            }
        }
    }
    port->reply = [](const QByteArray&) { return QByteArray("\x13\x37\x00\xFF garbage", 13); };
    FailCount[0] = 0;
    Read();
    EXPECT_EQ(FailCount[0], 1);
}

// A device that never stops talking holds the line for a bounded time only,
// and what it sent is not kept without bound.
TEST_F(SerialExchange, ABabblingLineEndsTheReadAtItsBound) {
    port->babbleBytes = 64;
    for (const char* protocol : {"RTU", "ASC"}) {
        Protocol = protocol;
        const int64_t before = clock.elapsedMs();
        FailCount[0] = 0;
        const QString r = Read();
        EXPECT_EQ(FailCount[0], 1) << protocol;
        EXPECT_LE(clock.elapsedMs() - before, 3 * PCSpeed + 50) << protocol;
        EXPECT_LT(r.size(), 2 * 1200) << protocol;
    }
}

// A full disk under the exchange trace: the trace is lost, the chamber's
// health is not touched.
TEST_F(SerialExchange, AnUnwritableTraceNeverMakesAChamberLost) {
    CommDataSave = 1;
    QDir().mkpath(dir.file("Error"));
    ASSERT_TRUE(QFile::link("/dev/full", dir.file("Error/20240131_E.log")));
    port->reply = [](const QByteArray&) { return WithCrc(Block1Reply(1)); };
    for (int n = 0; n < 5; ++n) EXPECT_FALSE(Read().isEmpty());
    EXPECT_EQ(FailCount[0], 0);
    EXPECT_EQ(CommError[0], 0);
    CommDataSave = 0;
}

// A read whose reply is there when PCSpeed is over costs PCSpeed and not a
// millisecond more: the receive loop does not sleep before the round that
// ends it.
TEST_F(SerialExchange, AReadCostsPcSpeedAndNoMore) {
    for (const char* protocol : {"RTU", "ASC"}) {
        Protocol = protocol;
        port->reply = [&](const QByteArray&) {
            return Protocol == "RTU" ? WithCrc(Block1Reply(1)) : AsciiOf(Block1Reply(1));
        };
        clock.advanceMs(1000);  // the last exchange is long over
        const int64_t t0 = clock.elapsedMs();
        EXPECT_FALSE(Read().isEmpty());
        EXPECT_EQ(clock.elapsedMs() - t0, PCSpeed) << protocol;
        // Silence ends the read as soon as PCSpeed has passed since the last exchange.
        port->reply = [](const QByteArray&) { return QByteArray(); };
        const int64_t t1 = clock.elapsedMs();
        Read();
        EXPECT_LE(clock.elapsedMs() - t1, PCSpeed + 1) << protocol;
    }
}

TEST_F(SerialExchange, FailCountStopsAtItsTop) {
    port->reply = [](const QByteArray&) { return QByteArray(); };
    FailCount[0] = 32766;
    Read();
    Read();
    Read();
    EXPECT_EQ(FailCount[0], 32767);
    EXPECT_EQ(CommError[0], -1);
}

// An address whose low byte names another controller is never read: the
// chamber would show that controller's values as its own.
TEST_F(SerialExchange, NoReadFromAnAddressThatNamesAnotherController) {
    port->reply = [](const QByteArray& req) { return WithCrc(Block1Reply(static_cast<uint8_t>(req[0]))); };
    for (const char* address : {"300", "x1", "1x", "-3"}) {
        ChamberAddress[0] = address;
        port->sent.clear();
        FailCount[0] = 0;
        EXPECT_EQ(Read(), "") << address;
        EXPECT_TRUE(port->sent.isEmpty()) << address;
        EXPECT_EQ(FailCount[0], 1) << address;
    }
    ChamberAddress[0] = "44";
    EXPECT_FALSE(Read().isEmpty());
}
