// The QEL2200, QEL2300 and QEL2400 poll blocks against replies built here
// from each controller's register map, on a scripted RTU line with a manual
// clock.
#include "app_dir.h"
#include "clock.h"
#include "fake_serial.h"
#include "link.h"
#include "qel2200_poll.h"
#include "qel2400_poll.h"
#include "reply_text.h"
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
        Hooks.runProc2 = [this](int16_t c) { calls << QString("runProc2 %1").arg(c); };
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

// Guards the QEL2400 map: three channels at their own registers, each scaled by its own places,
// status as the whole register, the relay words, per-channel end dates of the short second read,
// and the third read's fixed-run, pattern and time registers (form B).
TEST_F(ModelBlocks, Qel2400ThreeReadsThreeChannels) {
    ChamberModel[0] = "QEL2400";
    Chamber[0].DP = {"0", "00", ""};
    regs = {{0x0009, 0xFE70}, {0x000A, 2534}, {0x000B, 77},    {0x000C, 250},  {0x000D, 6000},  {0x000E, 12},
            {0x000F, 240},    {0x0010, 5900}, {0x0011, 11},    {0x0012, 455},  {0x0013, 1234},  {0x0014, 100},
            {0x0021, 1},      {0x0022, 2},    {0x0023, 16},    {0x0027, 0x0101}, {0x0028, 2},   {0x0029, 0},
            {0x002D, 0x2D},   {0x002F, 0x2F}, {0x0030, 0x30},  {0x0033, 0x33}, {0x0036, 0x36},  {0x0038, 0x38},
            {0x002A, 1},      {0x0042, 1},    {0x0002, 0x0A},  {0x0003, 0x0C}, {0x0004, 0x0B},  {0x0005, 0x0D},
            {0x0087, 2024},   {0x0088, 5},    {0x0089, 6},     {0x008A, 7},    {0x008B, 8},     {0x008C, 1970},
            {0x008D, 1},      {0x008E, 1},    {0x0091, 2025},  {0x0092, 1},    {0x0093, 2},     {0x0094, 3},
            {0x0095, 4},      {0x0135, 1},    {0x0136, 1},     {0x0137, 15},   {0x0138, 2},     {0x0139, 30},
            {0x0149, 0},      {0x00CF, 4},    {0x00C8, 7},     {0x00CA, 9},    {0x00CB, 3},     {0x00D1, 2},
            {0x00D4, 5},      {0x00D7, 1},    {0x00DA, 3},     {0x00DD, 1},    {0x00DE, 75},    {0x00DF, 5},
            {0x00E9, 2},      {0x00EA, 0},    {0x00EB, 0},     {0x00F5, 10},   {0x00F6, 30},    {0x00F7, 59}};
    QEL2400_ReadCommBlock(1);
    EXPECT_EQ(requests, QStringList({"010300020073", "01030087000F", "010300C80082"}));
    const ChamberRec& r = Chamber[0];
    Check({{"PV1 -40.0", r.PV[0], -40.0}, {"PV2 two places", r.PV[1], 25.34}, {"PV3 no places", r.PV[2], 77},
           {"SP1", r.SP[0], 25.0}, {"SP2", r.SP[1], 60.0}, {"SP3", r.SP[2], 12}, {"TSP1", r.TSP[0], 24.0},
           {"TSP2", r.TSP[1], 59.0}, {"TSP3", r.TSP[2], 11}, {"MV1", r.MV[0], 45.5}, {"MV2", r.MV[1], 12.34},
           {"MV3", r.MV[2], 100}, {"PVStat3", r.PVStat[2], 16}, {"Status1: whole register", r.Status[0], 0x0101},
           {"Status2", r.Status[1], 2}, {"Status3", r.Status[2], 0}, {"EvtWordD3", r.EvtWordD[2], 0x2F},
           {"EvtWordC1", r.EvtWordC[0], 0x30}, {"EvtWordA1", r.EvtWordA[0], 0x33}, {"EvtWordB3", r.EvtWordB[2], 0x38},
           {"UserKeyState1", r.UserKeyState[0], 1}, {"EvtMode3", r.EvtMode[2], 1}, {"RelayWordA", r.RelayWordA, 0x0A},
           {"RelayWordC", r.RelayWordC, 0x0C}, {"RelayWordB", r.RelayWordB, 0x0B}, {"RelayWordD", r.RelayWordD, 0x0D},
           {"FixMode2", r.FixMode[1], 1}, {"EndShown2", r.EndShown[1], 1}, {"TempDev2", r.TempDev[1], 0.15},
           {"FixTime2 form A", r.FixTime[1], 2 * 3600 + 30}, {"PIDNo2", r.PIDNo[1], 4}, {"PTNo1", r.PTNo[0], 7},
           {"PTNo3", r.PTNo[2], 9}, {"SegNo1", r.SegNo[0], 3}, {"PTRpt1", r.PTRpt[0], 2}, {"PTRptSet1", r.PTRptSet[0], 5},
           {"SegRpt1", r.SegRpt[0], 1}, {"SegRptSet1", r.SegRptSet[0], 3},
           {"SegTime1 form B: 75 min add 60 s", r.SegTime[0], 3600 + 60 + 5}, {"SegTimeSet2", r.SegTimeSet[1], 7200},
           {"RunTime3 form B: 30 min add nothing", r.RunTime[2], 10 * 3600 + 59}});
    EXPECT_EQ(r.EndDate[0], QDateTime(QDate(2024, 5, 6), QTime(7, 8)));
    EXPECT_EQ(r.EndDate[2], QDateTime(QDate(2025, 1, 2), QTime(3, 4)));
    EXPECT_EQ(calls, QStringList({"end 1 2024/05/06 07:08", "end 2 ", "end 3 2025/01/02 03:04", "fix 2 1", "runProc 1",
                                  "eventScan 1 1", "eventScan 1 2", "eventScan 1 3", "graph 1"}));
}

// Guards the QEL2400's reads one by one: a silent end-date or third read ends the cycle with what
// the reads before it decoded, and no log, event or trend; a linked run takes the second data log.
TEST_F(ModelBlocks, Qel2400FailedReadsAndLinkedRun) {
    ChamberModel[0] = "QEL2400";
    regs = {{0x0009, 100}, {0x0087, 2024}, {0x0088, 1}, {0x0089, 1}, {0x00C8, 3}, {0x0149, 1}};
    silentFrom = 0x0087;
    QEL2400_ReadCommBlock(1);
    EXPECT_DOUBLE_EQ(Chamber[0].PV[0], 10.0);
    EXPECT_FALSE(Chamber[0].EndDate[0].isValid()) << "no date made of an empty reply";
    silentFrom = 0x00C8;
    clock.advanceMs(1000);
    QEL2400_ReadCommBlock(1);
    EXPECT_EQ(Chamber[0].EndDate[0], QDateTime(QDate(2024, 1, 1), QTime(0, 0)));
    EXPECT_EQ(Chamber[0].PTNo[0], 0);
    EXPECT_EQ(calls.filter("runProc").size(), 0);
    silentFrom = -1;
    clock.advanceMs(1000);
    QEL2400_ReadCommBlock(1);
    EXPECT_EQ(Chamber[0].PTNo[0], 3);
    EXPECT_EQ(calls.filter("runProc").join(","), "runProc2 1");
    QEL2400_ReadCommBlock(31);
    EXPECT_TRUE(dir.errorLog().contains("  Subscript out of rangemodCommControl.ReadCommBlock\r\n"));
}

// Guards the reading of a register off the reply text against what Val("&H" + four characters)
// makes of it: signed 16 bits, either case, a text that ends early, a character that is no digit.
TEST(ReplyText, RegistersAsValReadsThem) {
    const struct { const char* text; int16_t want; } rows[] = {
        {"010302FFFF", -1}, {"0103028000", -32768}, {"01030200ff", 255}, {"0103027FFF", 32767},
        {"01030212", 0x12}, {"0103021G34", 1}, {"010302", 0}, {"010302 123", 0x123},  // Val skips blanks
    };
    for (const auto& r : rows) EXPECT_EQ(RegisterAt(QString::fromLatin1(r.text), 0, 0), r.want) << r.text;
}
