// The QEL2200 and QEL2300 poll blocks against replies built here from each
// controller's register map, on a scripted RTU line with a manual clock.
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "qel2200_poll.h"
#include "state.h"
#include "station_hooks.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class ModelBlocks : public ::testing::Test {
protected:
    void SetUp() override {
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        port->reply = [this](const QByteArray& req) { return Answer(req); };
        MaxChamberNo = 1;
        Chamber[0].DP = {"0", "00", ""};
        OpenLink();
        Hooks.runProc = [this](int16_t c) { calls << QString("runProc %1").arg(c); };
        Hooks.eventScan = [this](int16_t c, int16_t k) { calls << QString("eventScan %1 %2").arg(c).arg(k); };
        Hooks.operationGraph = [this](int16_t c) { calls << QString("graph %1").arg(c); };
        Hooks.fixModeChanged = [this](int16_t, int k, int16_t v) { calls << QString("fix %1 %2").arg(k).arg(v); };
        Hooks.endTimeCaption = [this](int16_t, int k, const QString& t) { calls << QString("end %1 %2").arg(k).arg(t); };
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

struct Row {
    template <typename Got, typename Want>
    Row(const char* f, Got g, Want w) : field(f), got(static_cast<double>(g)), want(static_cast<double>(w)) {}
    const char* field;
    double got, want;
};
void Check(std::initializer_list<Row> rows) {
    for (const Row& r : rows) EXPECT_DOUBLE_EQ(r.got, r.want) << r.field;
}

}  // namespace

// Guards the QEL2200 map: channel 1 and 2 values at their own registers, each scaled by its own
// channel's places, run time in whole minutes, status as the whole register, the mode of 0x0054.
TEST_F(ModelBlocks, Qel2200MapAndForms) {
    ChamberModel[0] = "QEL2200";
    regs = {{0x0000, 0xFE70}, {0x0001, 999}, {0x0002, 8550}, {0x0003, 250},  {0x0004, 6000}, {0x0008, 240},
            {0x0009, 5900},   {0x0005, 455}, {0x0006, 1234}, {0x000B, 1},    {0x000C, 2},    {0x0007, 3},
            {0x000D, 0x0D},   {0x000E, 0x0E}, {0x000F, 0x0F}, {0x0010, 0x10}, {0x0011, 0x11}, {0x0017, 2},
            {0x0018, 75},     {0x0019, 30},  {0x0012, 7},    {0x0013, 4},    {0x0015, 9},    {0x001A, 1},
            {0x001B, 1800},   {0x0033, 2},   {0x0034, 5},    {0x0035, 1},    {0x0036, 3},    {0x0037, 2},
            {0x0038, 10},     {0x0068, 1},   {0x006B, 20},   {0x006C, 150},  {0x0069, 3},    {0x006A, 600},
            {0x0043, 0x0101}, {0x0050, 0x50}, {0x0051, 0x51}, {0x0048, 1},   {0x0054, 0}};
    QEL2200_ReadCommBlock(1);
    EXPECT_EQ(requests, QStringList{"01030000006D"});
    const ChamberRec& r = Chamber[0];
    Check({{"PV1 -40.0 from 0x0000", r.PV[0], -40.0}, {"PV2 from 0x0002, two places", r.PV[1], 85.5},
           {"SP1", r.SP[0], 25.0}, {"SP2", r.SP[1], 60.0}, {"TSP1", r.TSP[0], 24.0}, {"TSP2", r.TSP[1], 59.0},
           {"MV1", r.MV[0], 45.5}, {"MV2", r.MV[1], 12.34}, {"PVStat1", r.PVStat[0], 1}, {"PVStat2", r.PVStat[1], 2},
           {"PIDNo", r.PIDNo[0], 3}, {"EvtWordD", r.EvtWordD[0], 0x0D}, {"EvtWordC", r.EvtWordC[0], 0x0E},
           {"EvtWordA", r.EvtWordA[0], 0x0F}, {"RelayWordB", r.RelayWordB, 0x10}, {"RelayWordA", r.RelayWordA, 0x11},
           {"RunTime: minutes in full", r.RunTime[0], 2 * 3600 + 75 * 60 + 30}, {"PTNo", r.PTNo[0], 7},
           {"SegNo", r.SegNo[0], 4}, {"SegTime form A", r.SegTime[0], 3600 + 1800}, {"PTRpt", r.PTRpt[0], 2},
           {"PTRptSet", r.PTRptSet[0], 5}, {"SegRpt", r.SegRpt[0], 1}, {"SegRptSet", r.SegRptSet[0], 3},
           {"SegTimeSet", r.SegTimeSet[0], 7210}, {"EndShown", r.EndShown[0], 1}, {"TempDev1", r.TempDev[0], 2.0},
           {"TempDev2", r.TempDev[1], 1.5}, {"FixTime", r.FixTime[0], 3 * 3600 + 600},
           {"Status: whole register", r.Status[0], 0x0101}, {"RelayWordD", r.RelayWordD, 0x50},
           {"RelayWordC", r.RelayWordC, 0x51}, {"UserKeyState", r.UserKeyState[0], 1},
           {"EvtMode: 0x0054, never 0x0015", r.EvtMode[0], 0}});
}

// Guards the QEL2200's end time: the status of the cycle before gates it, so a chamber that has
// just started shows it from the second cycle on; the hooks run once per cycle, events without channel.
TEST_F(ModelBlocks, Qel2200EndTimeFromTheSecondCycle) {
    ChamberModel[0] = "QEL2200";
    regs = {{0x0043, 1}, {0x003E, 2024}, {0x003F, 13}, {0x0040, 2}, {0x0041, 7}, {0x0042, 8}, {0x0063, 1}};
    QEL2200_ReadCommBlock(1);
    EXPECT_FALSE(Chamber[0].EndDate[0].isValid());
    clock.advanceMs(1000);
    QEL2200_ReadCommBlock(1);
    EXPECT_EQ(Chamber[0].EndDate[0], QDateTime(QDate(2025, 1, 2), QTime(7, 8)));  // month 13 rolls over
    EXPECT_EQ(calls, QStringList({"fix 1 1", "runProc 1", "eventScan 1 1", "graph 1", "end 1 2025/01/02 07:08",
                                  "runProc 1", "eventScan 1 1"}));
}

// Guards the QEL2300 map: three rooms by the channel loop, status from the low byte of 0x0005,
// the relay word read across two registers, the second block's words and the room side words.
TEST_F(ModelBlocks, Qel2300BothBlocks) {
    ChamberModel[0] = "QEL2300";
    Chamber[0].DP = {"0", "0", "0"};
    regs = {{0x0005, 0x7702}, {0x0002, 1},     {0x0003, 2},     {0x0004, 3},     {0x0006, 1500},  {0x0007, 0xFF38},
            {0x0008, 0xFE0C}, {0x0009, 1550},  {0x000A, 230},   {0x000B, 0xFE00}, {0x000C, 10},   {0x000D, 20},
            {0x000E, 30},     {0x000F, 4},     {0x0010, 5},     {0x0011, 6},     {0x0012, 0x12},  {0x0013, 0x13},
            {0x0014, 0x14},   {0x0015, 0x15},  {0x0016, 0x16},  {0x0017, 1},     {0x0018, 2},     {0x0019, 3},
            {0x001A, 9},      {0x003D, 0x1234}, {0x003E, 0x5678}, {0x0025, 0x25}, {0x001C, 0},     {0x001D, 90},
            {0x008C, 1},      {0x008D, 2},     {0x00B8, 1},     {0x0090, 1},     {0x0091, 30},    {0x00A2, 1},
            {0x00B5, 2},      {0x00B9, 1},     {0x00B6, 0},     {0x00B7, 1},     {0x0097, 2024}};
    QEL2300_ReadCommBlock(1);
    EXPECT_EQ(requests, QStringList({"010300020052", "0103008C0052"}));
    const ChamberRec& r = Chamber[0];
    Check({{"Status: low byte", r.Status[0], 2}, {"PVStat3", r.PVStat[2], 3}, {"PV1", r.PV[0], 150.0},
           {"PV2 0xFF38", r.PV[1], -20.0}, {"PV3", r.PV[2], -50.0}, {"SP1", r.SP[0], 155.0}, {"SP2", r.SP[1], 23.0},
           {"SP3", r.SP[2], -51.2}, {"MV3", r.MV[2], 3.0}, {"PIDNo2", r.PIDNo[1], 5}, {"EvtWordD", r.EvtWordD[0], 0x12},
           {"EvtWordC", r.EvtWordC[0], 0x13}, {"EvtWordA", r.EvtWordA[0], 0x14}, {"RelayWordB", r.RelayWordB, 0x15},
           {"RelayWordA", r.RelayWordA, 0x16}, {"RunTime", r.RunTime[0], 3600 + 120 + 3}, {"PTNo", r.PTNo[0], 9},
           {"RelayWordD: last digit of 0x003D, first three of 0x003E", r.RelayWordD, 0x4567},
           {"RelayWordC", r.RelayWordC, 0x25}, {"SegTime", r.SegTime[0], 90}, {"PTRpt", r.PTRpt[0], 1},
           {"PTRptSet", r.PTRptSet[0], 2}, {"EvtMode", r.EvtMode[0], 1}, {"SegTimeSet", r.SegTimeSet[0], 3630},
           {"UserKeyState", r.UserKeyState[0], 1}, {"Side", r.Side, 2}, {"SideMark", r.SideMark, 1},
           {"SideAltA", r.SideAltA, 0}, {"SideAltB", r.SideAltB, 1}});
    EXPECT_FALSE(r.EndDate[0].isValid()) << "status 2 has not bit value 1: no end date";
    EXPECT_EQ(calls, QStringList({"runProc 1", "eventScan 1 1", "graph 1"}));
}

// Guards the QEL2300's failures: a silent second block leaves the first one's values (half a cycle)
// and skips log and events; the end date follows bit 1 of the same cycle; a run-time failure is
// logged under the QEL2200's routine name.
TEST_F(ModelBlocks, Qel2300HalfCycleAndItsLogName) {
    ChamberModel[0] = "QEL2300";
    regs = {{0x0005, 0x0001}, {0x0006, 100}, {0x008C, 4}, {0x0097, 2024}, {0x0098, 2}, {0x0099, 29}, {0x009A, 23}};
    QEL2300_ReadCommBlock(1);
    EXPECT_EQ(Chamber[0].EndDate[0], QDateTime(QDate(2024, 2, 29), QTime(23, 0)));
    calls.clear();
    regs[0x0006] = 200;
    regs[0x008C] = 5;
    silentFrom = 0x008C;
    QEL2300_ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 20.0) << "block 1 taken";
    EXPECT_EQ(Chamber[0].PTRpt[0], 4) << "block 2 kept";
    EXPECT_TRUE(calls.isEmpty());
    QEL2300_ReadCommBlock(31);
    EXPECT_TRUE(dir.errorLog().contains("  Subscript out of rangemodCommControl.QEL2200_ReadCommBlock\r\n"))
        << dir.errorLog().toStdString();
}
