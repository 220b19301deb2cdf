// The QEL2000/QEL2100 poll block against replies built here from the
// controller's register map, on a scripted RTU line with a manual clock.
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "station_hooks.h"
#include "qel2000_poll.h"
#include "state.h"
#include "vbtext.h"

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
        Protocol = "RTU";
        MaxChamberNo = 1;
        ChamberModel[0] = "QEL2100";
        Chamber[0].DP = {"0", "0", "0"};
        OpenLink();
        Hooks = StationHooks{};
        Hooks.runProc = [this](int16_t c) { calls << QString("runProc %1").arg(c); };
        Hooks.runProc2 = [this](int16_t c) { calls << QString("runProc2 %1").arg(c); };
        Hooks.eventScan = [this](int16_t c, int16_t k) { calls << QString("eventScan %1 %2").arg(c).arg(k); };
        Hooks.operationGraph = [this](int16_t c) { calls << QString("graph %1").arg(c); };
        Hooks.fixModeChanged = [this](int16_t, int k, int16_t v) { calls << QString("fix %1 %2").arg(k).arg(v); };
        Hooks.endTimeCaption = [this](int16_t, int k, const QString& t) { captions[k] = t; };
    }
    void TearDown() override {
        Hooks = StationHooks{};
        RemoveLink();
    }

    // The controller: registers by address; a read answers from them.
    QByteArray Answer(const QByteArray& req) {
        requests << QString::fromLatin1(req.toHex().toUpper());
        if (silentBlock2 && static_cast<uint8_t>(req[2]) == 0x03) return {};
        const int first = (static_cast<uint8_t>(req[2]) << 8) | static_cast<uint8_t>(req[3]);
        const int count = (static_cast<uint8_t>(req[4]) << 8) | static_cast<uint8_t>(req[5]);
        return qeltest::WithCrc(qeltest::ReadReplyBody(1, first, count, [this](int r) { return regs.value(r, 0); }));
    }

    qeltest::AppDir dir;
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
    QMap<int, uint16_t> regs;
    bool silentBlock2 = false;
    QStringList requests;
    QStringList calls;
    QMap<int, QString> captions;
};

}  // namespace

TEST_F(PollBlock, DecodesEveryFieldOfBlockOneFromItsRegister) {
    // Register -> value, from the controller's map.
    regs = {{0x0002, 2}, {0x0003, 16}, {0x0004, 0x1200}, {0x0006, 0xAB04},
            {0x0009, 0xFF38}, {0x000A, 253}, {0x000B, 300}, {0x000C, 0xFFF6},
            {0x0037, 305}, {0x0038, 410}, {0x000D, 1000}, {0x000E, 555},
            {0x0011, 3}, {0x0012, 4}, {0x0013, 0x0101}, {0x0014, 0x0102}, {0x0015, 0x0201}, {0x0016, 0x0202},
            {0x0017, 0x0301}, {0x0018, 0x0302}, {0x0019, 0x0401}, {0x001A, 0x0402},
            {0x0048, 1}, {0x0049, 0}, {0x0054, 1}, {0x0055, 7},
            {0x001B, 0x0B0B}, {0x001C, 0x0A0A}, {0x0045, 0x0D0D}, {0x0046, 0x0C0C},
            {0x001D, 2}, {0x001E, 75}, {0x001F, 30}, {0x0020, 1}, {0x0021, 59}, {0x0022, 5},
            {0x0023, 11}, {0x0024, 12}, {0x0025, 21}, {0x0026, 22},
            {0x0027, 31}, {0x0028, 32}, {0x0029, 41}, {0x002A, 42},
            {0x002B, 51}, {0x002C, 52}, {0x002D, 61}, {0x002E, 62},
            {0x002F, 1}, {0x0030, 30}, {0x0031, 2}, {0x0032, 45}, {0x0033, 3}, {0x0034, 7}, {0x0035, 4}, {0x0036, 0},
            {0x006D, 0}, {0x006E, 1}, {0x0075, 0}, {0x0070, 1}, {0x0077, 0},
            {0x0071, 5}, {0x0072, 10}, {0x0078, 6}, {0x0079, 20}};
    ReadCommBlock(1);
    const ChamberRec& r = Chamber[0];
    // Field, value, value expected from the register above.
    auto row = [](const char* field, double got, double want) { EXPECT_DOUBLE_EQ(got, want) << field; };
    row("PVStat1", r.PVStat[0], 2); row("PVStat2", r.PVStat[1], 16); row("Status1 (low byte)", r.Status[0], 0);
    row("Status2", r.Status[1], 4); row("PV1 raw 0xFF38", r.PV[0], -20.0); row("PV2", r.PV[1], 25.3);
    row("SP1", r.SP[0], 30.0); row("SP2", r.SP[1], -1.0); row("TSP1", r.TSP[0], 30.5);
    row("TSP2", r.TSP[1], 41.0); row("MV1", r.MV[0], 100.0); row("MV2", r.MV[1], 55.5);
    row("PIDNo1", r.PIDNo[0], 3); row("PIDNo2", r.PIDNo[1], 4); row("EvtWordD1", r.EvtWordD[0], 0x0101);
    row("EvtWordD2", r.EvtWordD[1], 0x0102); row("EvtWordC1", r.EvtWordC[0], 0x0201);
    row("EvtWordC2", r.EvtWordC[1], 0x0202); row("EvtWordA1", r.EvtWordA[0], 0x0301);
    row("EvtWordA2", r.EvtWordA[1], 0x0302); row("EvtWordB1", r.EvtWordB[0], 0x0401);
    row("EvtWordB2", r.EvtWordB[1], 0x0402); row("UserKeyState1", r.UserKeyState[0], 1);
    row("UserKeyState2", r.UserKeyState[1], 0); row("EvtMode1", r.EvtMode[0], 1);
    row("EvtMode2", r.EvtMode[1], 7); row("RelayWordA", r.RelayWordA, 0x0A0A);
    row("RelayWordB", r.RelayWordB, 0x0B0B); row("RelayWordC", r.RelayWordC, 0x0C0C);
    row("RelayWordD", r.RelayWordD, 0x0D0D); row("RunTime1: 75 min add 60 s", r.RunTime[0], 2 * 3600 + 60 + 30);
    row("RunTime2: 59 min add nothing", r.RunTime[1], 3600 + 5); row("PTNo1", r.PTNo[0], 11);
    row("SegNo1", r.SegNo[0], 12); row("PTNo2", r.PTNo[1], 21); row("SegNo2", r.SegNo[1], 22);
    row("PTRpt1", r.PTRpt[0], 31); row("PTRptSet1", r.PTRptSet[0], 32); row("PTRpt2", r.PTRpt[1], 41);
    row("PTRptSet2", r.PTRptSet[1], 42); row("SegRpt1", r.SegRpt[0], 51); row("SegRptSet1", r.SegRptSet[0], 52);
    row("SegRpt2", r.SegRpt[1], 61); row("SegRptSet2", r.SegRptSet[1], 62); row("SegTime1", r.SegTime[0], 3630);
    row("SegTimeSet1", r.SegTimeSet[0], 7245); row("SegTime2", r.SegTime[1], 10807);
    row("SegTimeSet2", r.SegTimeSet[1], 14400); row("LinkedRun", r.LinkedRun, 0);
    row("FixMode1", r.FixMode[0], 1); row("FixMode2", r.FixMode[1], 0); row("EndShown1", r.EndShown[0], 1);
    row("EndShown2", r.EndShown[1], 0); row("FixTime1", r.FixTime[0], 5 * 3600 + 10);
    row("FixTime2", r.FixTime[1], 6 * 3600 + 20); row("TempDev1: past the block", r.TempDev[0], 0);
    row("TempDev2", r.TempDev[1], 0);
}

TEST_F(PollBlock, DecimalPlacesDivideAndRound) {
    Chamber[0].DP = {"", "00", "0"};
    regs = {{0x0009, 253}, {0x000A, 2534}, {0x000B, 0x8000}};
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 253.0);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[1], 25.34);
    EXPECT_DOUBLE_EQ(Chamber[0].SP[0], -32768.0);
}

TEST_F(PollBlock, StoppedChamberNeverReadsBlockTwo) {
    ReadCommBlock(1);
    ReadCommBlock(1);
    EXPECT_EQ(requests.size(), 2);
    for (const QString& q : requests) EXPECT_TRUE(q.startsWith("010300020078")) << q.toStdString();
    EXPECT_TRUE(captions.isEmpty());
}

TEST_F(PollBlock, RunningChannelReadsTheEndDates) {
    regs = {{0x0006, 0x0002},  // channel 2 runs a program
            {0x039C, 2024}, {0x039D, 13}, {0x039E, 3}, {0x039F, 10}, {0x03A0, 20},
            {0x03A6, 1970}, {0x03A7, 1}, {0x03A8, 1}, {0x03A9, 0}, {0x03AA, 0}};
    ReadCommBlock(1);
    ASSERT_EQ(requests.size(), 2);
    EXPECT_TRUE(requests[1].startsWith("0103039C0052"));
    EXPECT_EQ(Chamber[0].EndDate[0], QDateTime(QDate(2025, 1, 3), QTime(10, 20)));  // month 13 rolls over
    EXPECT_EQ(Chamber[0].EndDate[1], UnsetDate());
    EXPECT_EQ(captions[1], "2025/01/03 10:20");
    EXPECT_EQ(captions[2], "");
}

TEST_F(PollBlock, HooksRunInOrderAndTheTrendAtMostEveryTwoSeconds) {
    ReadCommBlock(1);
    EXPECT_EQ(calls, QStringList({"runProc 1", "eventScan 1 1", "eventScan 1 2", "graph 1"}));
    calls.clear();
    clock.advanceMs(1000);
    ReadCommBlock(1);
    EXPECT_EQ(calls, QStringList({"runProc 1", "eventScan 1 1", "eventScan 1 2"}));
    calls.clear();
    clock.advanceMs(1000);
    regs[0x006D] = 1;  // linked run: one file for all channels
    ReadCommBlock(1);
    EXPECT_EQ(calls, QStringList({"runProc2 1", "eventScan 1 1", "eventScan 1 2", "graph 1"}));
}

TEST_F(PollBlock, FixModeChangeIsReportedOnlyWhenItChanges) {
    regs[0x006E] = 1;
    ReadCommBlock(1);
    ReadCommBlock(1);
    regs[0x006E] = 0;
    ReadCommBlock(1);
    EXPECT_EQ(calls.filter("fix"), QStringList({"fix 1 1", "fix 1 0"}));
}

TEST_F(PollBlock, FailedReadKeepsTheLastGoodValues) {
    regs[0x0009] = 250;
    ReadCommBlock(1);
    ASSERT_DOUBLE_EQ(Chamber[0].PV[0], 25.0);
    calls.clear();
    regs[0x0009] = 999;
    port->reply = [](const QByteArray&) { return QByteArray("\x01\x83\x02\xC0\xF1", 5); };
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 25.0);
    EXPECT_EQ(FailCount[0], 1);
    EXPECT_TRUE(calls.isEmpty());
    // The next good read is decoded again.
    port->reply = [this](const QByteArray& req) { return Answer(req); };
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 99.9);
}

TEST_F(PollBlock, SecondBlockFailingSkipsLogAndEvents) {
    regs[0x0004] = 0x0001;
    silentBlock2 = true;
    regs[0x0009] = 123;
    ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 12.3);  // block 1 was taken
    EXPECT_TRUE(calls.filter("runProc").isEmpty());
    EXPECT_TRUE(calls.filter("eventScan").isEmpty());
    EXPECT_EQ(FailCount[0], 1);
}

TEST_F(PollBlock, ChamberSwitchedOffIsSilent) {
    ChamberUse[0] = "0";
    ReadCommBlock(1);
    EXPECT_TRUE(requests.isEmpty());
    EXPECT_EQ(CommError[0], 0);
    EXPECT_EQ(dir.errorLog(), "");
}

TEST_F(PollBlock, ChamberOutsideTheTableIsLoggedUnderTheBlocksName) {
    ReadCommBlock(31);
    EXPECT_TRUE(dir.errorLog().contains("  Subscript out of rangemodCommControl.ReadCommBlock\r\n"));
}
