// The serial exchange on a scripted port with a manual clock.
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "modbus.h"
#include "state.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace qel;
using qeltest::FromHex;
using qeltest::WithCrc;

namespace {

// The reply to the block-1 read (0x78 registers from 0x0002), register r holding r.
QByteArray Block1(int address = 1) {
    return qeltest::ReadReplyBody(address, 2, 120, [](int r) { return static_cast<uint16_t>(r); });
}

QString Hex(const QByteArray& b) { return QString::fromLatin1(b.toHex().toUpper()); }

// Chamber 1's failure count and line state.
std::pair<int, int> Health() { return {FailCount[0], CommError[0]}; }

class SerialExchange : public ::testing::Test {
protected:
    void SetUp() override {
        clock.set(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7, 45)));
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        OpenLink();
    }
    void TearDown() override { RemoveLink(); }
    static QString Transact(const QString& expect, const QString& body, int16_t minLen, int16_t chamber = 1) {
        return ModbusTransact(expect, minLen, chamber, 1, body);
    }
    static QString Read(int16_t chamber = 1) { return Transact("&H3F0", "0300020078", 490, chamber); }
    void Answer(const QByteArray& reply) {
        port->reply = [reply](const QByteArray&) { return reply; };
    }

    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
};

struct Serial {
    const char* protocol;
    QByteArray (*frame)(const QByteArray&);
    int lostAt;
    friend void PrintTo(const Serial& s, std::ostream* os) { *os << s.protocol; }
};

class EachSerialProtocol : public SerialExchange, public ::testing::WithParamInterface<Serial> {
protected:
    void SetUp() override {
        SerialExchange::SetUp();
        Protocol = GetParam().protocol;
    }
    static QByteArray Frame(const QByteArray& body) { return GetParam().frame(body); }
};

}  // namespace

// Guards the frame sent, the reply handed back, counters cleared, the port reopened per exchange, a read of PCSpeed.
TEST_P(EachSerialProtocol, GoodRead) {
    const QByteArray reply = Frame(Block1());
    Answer(reply);
    std::tie(FailCount[0], CommError[0]) = std::pair(2, -1);
    const int opens = port->opens;
    clock.advanceMs(1000);
    const int64_t t0 = clock.elapsedMs();
    EXPECT_EQ(Read(), Protocol == "RTU" ? Hex(reply) : QString::fromLatin1(reply.mid(1)));
    EXPECT_EQ(clock.elapsedMs() - t0, PCSpeed);
    EXPECT_EQ(Health(), std::pair(0, 0));
    EXPECT_EQ(port->sent, QList<QByteArray>{Frame(FromHex("010300020078"))});
    Read();
    EXPECT_EQ(port->opens, opens + 2);
    EXPECT_EQ(port->closes, 2);
}

// Guards a foreign, doubled or bad-checksum reply taken, loss at the 3rd failure on RTU only, FailCount past 32767.
TEST_P(EachSerialProtocol, EveryAbnormalReplyIsAFailedReadCountedUntilLost) {
    QByteArray badChecksum = Frame(Block1());
    badChecksum[10] = badChecksum[10] == '0' ? '1' : '0';
    const QByteArray rows[] = {Frame(Block1(2)), Frame(Block1()).repeated(2), badChecksum};
    for (int n = 1; n <= 3; ++n) {
        Answer(rows[n - 1]);
        const QString r = Read();
        EXPECT_EQ(Health(), std::pair(n, n < GetParam().lostAt ? 0 : -1)) << "row " << n;
        if (Protocol == "RTU") {
            EXPECT_EQ(r, "") << "row " << n;
        }
    }
    Answer({});
    FailCount[0] = 32766;
    Read();
    Read();
    EXPECT_EQ(FailCount[0], 32767);
}

INSTANTIATE_TEST_SUITE_P(Framings, EachSerialProtocol,
                         ::testing::Values(Serial{"RTU", &qeltest::WithCrc, 3}, Serial{"ASC", &qeltest::WithLrc, 4}),
                         [](const auto& info) { return std::string(info.param.protocol); });

// Guards the trace line's layout and refusal reason, and an unwritable trace (full disk) marking the chamber lost.
TEST_F(SerialExchange, TraceLineWhenAskedFor) {
    CommDataSave = 1;
    Answer(WithCrc(FromHex("0103020001")));
    const QString r = Transact("&H302", "0300090001", 14);
    EXPECT_EQ(r, Hex(WithCrc(FromHex("0103020001"))));
    EXPECT_TRUE(dir.errorLog().contains("  045 ADR:1 송:0300090001 수:" + r + "\r\n")) << dir.errorLog().toStdString();
    Answer(WithCrc(FromHex("0203020001")));
    Transact("&H302", "0300090001", 14);
    EXPECT_TRUE(dir.errorLog().contains("  reply from another address 345 ADR:1 송:0300090001 수:0203020001"))
        << dir.errorLog().toStdString();

    ASSERT_TRUE(QFile::remove(dir.file("Error/20240131_E.log")));
    ASSERT_TRUE(QFile::link("/dev/full", dir.file("Error/20240131_E.log")));
    Answer(WithCrc(Block1()));
    for (int n = 0; n < 3; ++n) EXPECT_FALSE(Read().isEmpty());
    EXPECT_EQ(Health(), std::pair(0, 0));
}

// Guards a read of an address naming another controller (300 reads as 44), and chamber 31 crashing, not logging.
TEST_F(SerialExchange, NoReadFromAnAddressThatNamesAnotherController) {
    port->reply = [](const QByteArray& req) { return WithCrc(Block1(static_cast<uint8_t>(req[0]))); };
    for (const char* address : {"248", "300", "1x"}) {
        ChamberAddress[0] = address;
        FailCount[0] = 0;
        EXPECT_EQ(Read(), "") << address;
        EXPECT_TRUE(port->sent.isEmpty()) << address;
        EXPECT_EQ(FailCount[0], 1) << address;
    }
    ChamberAddress[0] = "247";
    EXPECT_FALSE(Read().isEmpty());
    EXPECT_EQ(Read(31), "");
    EXPECT_TRUE(dir.errorLog().contains("  Subscript out of rangeADR:31 송0300020078 수:\r\n"));
}
