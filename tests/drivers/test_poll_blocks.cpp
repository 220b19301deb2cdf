// The poll blocks on a scripted RTU line with a manual clock: the QEL2000
// family's value forms against a table written from its register map, the
// order of the hooks a cycle runs, and what a failed read leaves. The maps of
// the QEL2200, QEL2300 and QEL2400 are checked through qelsim and qelpoll
// (tests/integration).
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "qel2000_poll.h"
#include "qel2400_poll.h"
#include "reply_text.h"
#include "state.h"
#include "station_hooks.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class PollBlock : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        port->reply = [this](const QByteArray& req) { return Answer(req); };
        MaxChamberNo = 1;
        ChamberModel[0] = "QEL2100";
        Chamber[0].DP = {"0", "00", ""};
        OpenLink();
        Hooks.runProc = [this](int16_t c) { calls << QString("runProc %1").arg(c); };
        Hooks.runProc2 = [this](int16_t c) { calls << QString("runProc2 %1").arg(c); };
        Hooks.eventScan = [this](int16_t c, int16_t k) { calls << QString("eventScan %1 %2").arg(c).arg(k); };
        Hooks.operationGraph = [this](int16_t c) { calls << QString("graph %1").arg(c); };
        Hooks.fixModeChanged = [this](int16_t, int k, int16_t v) { calls << QString("fix %1 %2").arg(k).arg(v); };
    }
    void TearDown() override {
        Hooks = StationHooks{};
        RemoveLink();
    }
    // The controller answers a read from `regs`; a read from `silentFrom` gets no answer.
    QByteArray Answer(const QByteArray& req) {
        const int first = static_cast<uint8_t>(req[2]) << 8 | static_cast<uint8_t>(req[3]);
        const int count = static_cast<uint8_t>(req[4]) << 8 | static_cast<uint8_t>(req[5]);
        requests << QString::fromLatin1(req.left(6).toHex().toUpper());
        if (first == silentFrom) return {};
        return qeltest::WithCrc(qeltest::ReadReplyBody(1, first, count, [this](int r) { return regs.value(r, 0); }));
    }

    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
    QMap<int, uint16_t> regs;
    int silentFrom = -1;
    QStringList requests;
    QStringList calls;
};

}  // namespace

// Guards the QEL2000 family's block 1: status low byte, scaling by places, time forms A and B, the relay words.
TEST_F(PollBlock, DecodesTheValueFormsOfBlockOne) {
    regs = {{0x06, 0xAB04}, {0x09, 0x8000}, {0x0A, 2534}, {0x1D, 2},      {0x1E, 75},
            {0x1F, 30},     {0x78, 6},      {0x79, 20},   {0x1C, 0x0A0A}, {0x1B, 0x0B0B}};
    Chamber[0].DP[0] = "";
    ReadCommBlock(1);
    const ChamberRec& r = Chamber[0];
    auto row = [](const char* field, double got, double want) { EXPECT_DOUBLE_EQ(got, want) << field; };
    row("Status2: low byte", r.Status[1], 4), row("PV2, two places", r.PV[1], 25.34);
    row("PV1 0x8000, no places: the raw word, signed", r.PV[0], -32768.0);
    row("RunTime1: 75 min add 60 s", r.RunTime[0], 2 * 3600 + 60 + 30), row("FixTime2", r.FixTime[1], 6 * 3600 + 20);
    row("RelayWordA, second", r.RelayWordA, 0x0A0A), row("RelayWordB, first", r.RelayWordB, 0x0B0B);
}

// Guards the hooks' order, the run log by linked run, the trend at most every 2 s, a fixed-run change reported once.
TEST_F(PollBlock, HooksRunInOrder) {
    ReadCommBlock(1);
    clock.advanceMs(2000);
    regs[0x006D] = 1;  // linked run: one file for all channels
    regs[0x006E] = 1;
    ReadCommBlock(1);
    ReadCommBlock(1);  // at the same time: no trend
    EXPECT_EQ(calls, QStringList({"runProc 1", "eventScan 1 1", "eventScan 1 2", "graph 1", "fix 1 1", "runProc2 1",
                                  "eventScan 1 1", "eventScan 1 2", "graph 1", "runProc2 1", "eventScan 1 1",
                                  "eventScan 1 2"}));
}

// Guards a failed read of either block reaching the record or the logs and events.
TEST_F(PollBlock, FailedReadLeavesTheRecordAsItWas) {
    regs[0x0009] = 250;
    ReadCommBlock(1);
    calls.clear();
    regs[0x0009] = 999;
    port->reply = [](const QByteArray&) { return qeltest::WithCrc(qeltest::FromHex("018302")); };
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 25.0);
    EXPECT_TRUE(calls.isEmpty());
    port->reply = [this](const QByteArray& req) { return Answer(req); };
    regs[0x0004] = 0x0001;  // running: block 2 is read, and it is silent
    silentFrom = 0x039C;
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 99.9);  // block 1 was taken
    EXPECT_EQ(FailCount[0], 1);
    EXPECT_TRUE(calls.isEmpty());
}

// Guards a silent QEL2400 end-date or third read: the cycle ends with what came before, no log, event or date.
TEST_F(PollBlock, Qel2400FailedReadsEndTheCycle) {
    ChamberModel[0] = "QEL2400";
    regs = {{0x0009, 100}, {0x0087, 2024}, {0x0088, 1}, {0x0089, 1}, {0x00C8, 3}};
    silentFrom = 0x0087;
    QEL2400_ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 10.0);
    EXPECT_FALSE(Chamber[0].EndDate[0].isValid());
    silentFrom = 0x00C8;
    clock.advanceMs(1000);
    QEL2400_ReadCommBlock(1);
    EXPECT_EQ(Chamber[0].EndDate[0], QDateTime(QDate(2024, 1, 1), QTime(0, 0)));
    EXPECT_EQ(Chamber[0].PTNo[0], 0);
    EXPECT_TRUE(calls.isEmpty());
}

// Guards a chamber switched off being polled, and a chamber outside the table crashing the poll.
TEST_F(PollBlock, SwitchedOffOrOutsideTheTable) {
    ChamberUse[0] = "0";
    ReadCommBlock(1);
    EXPECT_TRUE(requests.isEmpty());
    EXPECT_EQ(CommError[0], 0);
    EXPECT_EQ(dir.errorLog(), "");
    ReadCommBlock(31);
    QEL2400_ReadCommBlock(31);
    EXPECT_EQ(dir.errorLog().count("  Subscript out of rangemodCommControl.ReadCommBlock\r\n"), 2);
}

// Guards reading a register off the reply text as Val("&H" + 4 characters): signed, any case, short, no digit.
TEST(ReplyText, RegistersAsValReadsThem) {
    const struct { const char* text; int16_t want; } rows[] = {
        {"010302FFFF", -1}, {"0103028000", -32768}, {"01030200ff", 255}, {"0103027FFF", 32767},
        {"01030212", 0x12}, {"0103021G34", 1}, {"010302", 0}, {"010302 123", 0x123},  // Val skips blanks
    };
    for (const auto& r : rows) EXPECT_EQ(RegisterAt(QString::fromLatin1(r.text), 0, 0), r.want) << r.text;
}
