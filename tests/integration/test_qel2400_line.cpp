// The QEL2400 (three independent channels) as processes: qelpoll and the
// headless station against qelsim, run keys per channel, and a pattern file
// written into channel 3 and read back. Every expected value is worked out
// here from the controller's register map and the pattern file layout, never
// taken from our own decoder, writer or simulator.
#include "line_fixture.h"
#include "model_line_util.h"
#include "profile.h"

#include <QJsonArray>
#include <QMap>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

// Channels at one, two and no decimals (qelpoll --dp 1,2,0). Block 1 from
// 0x0002, the end dates from 0x0087 (five words a channel), block 3 from
// 0x00C8 to LinkedRun at 0x0149, its last word.
const QList<Served> kRegs = {
    // PV, SP, TSP, MV of channels 1..3.
    {0x0009, -400},   {0x000A, -32768}, {0x000B, 32767},  {0x000C, 1250},   {0x000D, 8525},   {0x000E, -40},
    {0x000F, 250},    {0x0010, -1},     {0x0011, 150},    {0x0012, 555},    {0x0013, 10000},  {0x0014, -5},
    // PVStat, Status, UserKeyState, EvtWordD, C, A, B, EvtMode.
    {0x0021, 2},      {0x0022, -32768}, {0x0023, 32767},  {0x0027, 0x0101}, {0x0028, 0x0045}, {0x0029, 0x0200},
    {0x002A, 1},      {0x002B, 0},      {0x002C, 3},      {0x002D, 0x0010}, {0x002E, 0x0020}, {0x002F, -32768},
    {0x0030, 0x0100}, {0x0031, 0x0200}, {0x0032, 0x7FFF}, {0x0033, 0x1000}, {0x0034, 0x2000}, {0x0035, 0x0001},
    {0x0036, 0x0003}, {0x0037, 0x0300}, {0x0038, 0x0030}, {0x0040, 3},      {0x0041, 7},      {0x0042, -1},
    // The chamber's relay words A, C, B, D.
    {0x0002, 0x1234}, {0x0003, -32768}, {0x0004, 0x00F0}, {0x0005, 0xABCD},
    // End dates: year, month, day, hour, minute per channel.
    {0x0087, 2024},   {0x0088, 5},      {0x0089, 6},      {0x008A, 7},      {0x008B, 8},
    {0x008C, 2025},   {0x008D, 13},     {0x008E, 1},      {0x008F, 0},      {0x0090, 59},
    {0x0091, 2023},   {0x0092, 12},     {0x0093, 31},     {0x0094, 25},     {0x0095, 0},
    // FixMode, EndShown, TempDev, FixTime (hours, seconds) ten words apart.
    {0x012B, 1},      {0x012C, 1},      {0x012D, -25},    {0x012E, 3},      {0x012F, 600},
    {0x0135, 0},      {0x0136, 2},      {0x0137, 150},    {0x0138, 0},      {0x0139, 59},
    {0x013F, 2},      {0x0140, 3},      {0x0141, -3},     {0x0142, 100},    {0x0143, 7199},
    {0x0149, 1},
    // PTNo, SegNo, PIDNo, PTRpt, PTRptSet, SegRpt, SegRptSet of channels 1..3.
    {0x00C8, 12},     {0x00C9, 99},     {0x00CA, 3},      {0x00CB, 5},      {0x00CC, 1},      {0x00CD, 100},
    {0x00CE, 4},      {0x00CF, 5},      {0x00D0, 6},      {0x00D1, 2},      {0x00D2, 0},      {0x00D3, 7},
    {0x00D4, 9},      {0x00D5, 1},      {0x00D6, 8},      {0x00D7, 3},      {0x00D8, 4},      {0x00D9, 0},
    {0x00DA, 6},      {0x00DB, 5},      {0x00DC, 1},
    // SegTime, SegTimeSet, RunTime: hours, minutes, seconds per channel.
    {0x00DD, 1},      {0x00DE, 2},      {0x00DF, 5},      {0x00E0, 0},      {0x00E1, 60},     {0x00E2, 30},
    {0x00E3, 2},      {0x00E4, 119},    {0x00E5, 59},     {0x00E6, 2},      {0x00E7, 0},      {0x00E8, 0},
    {0x00E9, 0},      {0x00EA, 0},      {0x00EB, 45},     {0x00EC, 10},     {0x00ED, 59},     {0x00EE, 59},
    {0x00EF, 2},      {0x00F0, 3},      {0x00F1, 4},      {0x00F2, 1},      {0x00F3, 120},    {0x00F4, 0},
    {0x00F5, 100},    {0x00F6, 0},      {0x00F7, 1},
};
const QList<Field> kFields = {
    {"PV", 0, -40.0},        {"PV", 1, -327.68},      {"PV", 2, 32767},        {"SP", 0, 125.0},
    {"SP", 1, 85.25},        {"SP", 2, -40},          {"TSP", 0, 25.0},        {"TSP", 1, -0.01},
    {"TSP", 2, 150},         {"MV", 0, 55.5},         {"MV", 1, 100.0},        {"MV", 2, -5},
    {"PVStat", 0, 2},        {"PVStat", 1, -32768},   {"PVStat", 2, 32767},
    // The whole register: a low byte would read 1, 69 and 0.
    {"Status", 0, 257},      {"Status", 1, 69},       {"Status", 2, 512},
    {"UserKeyState", 0, 1},  {"UserKeyState", 1, 0},  {"UserKeyState", 2, 3},
    {"EvtWordD", 0, 16},     {"EvtWordD", 1, 32},     {"EvtWordD", 2, -32768},
    {"EvtWordC", 0, 256},    {"EvtWordC", 1, 512},    {"EvtWordC", 2, 32767},
    {"EvtWordA", 0, 4096},   {"EvtWordA", 1, 8192},   {"EvtWordA", 2, 1},
    {"EvtWordB", 0, 3},      {"EvtWordB", 1, 768},    {"EvtWordB", 2, 48},
    {"EvtMode", 0, 3},       {"EvtMode", 1, 7},       {"EvtMode", 2, -1},
    {"RelayWordA", 0, 4660}, {"RelayWordC", 0, -32768}, {"RelayWordB", 0, 240}, {"RelayWordD", 0, -21555},
    {"FixMode", 0, 1},       {"FixMode", 1, 0},       {"FixMode", 2, 2},
    {"EndShown", 0, 1},      {"EndShown", 1, 2},      {"EndShown", 2, 3},
    {"TempDev", 0, -2.5},    {"TempDev", 1, 1.5},     {"TempDev", 2, -3},
    // Hours and seconds: the second word is not taken as minutes.
    {"FixTime", 0, 11400},   {"FixTime", 1, 59},      {"FixTime", 2, 367199},
    {"LinkedRun", 0, 1},
    {"PTNo", 0, 12},         {"PTNo", 1, 99},         {"PTNo", 2, 3},
    {"SegNo", 0, 5},         {"SegNo", 1, 1},         {"SegNo", 2, 100},
    {"PIDNo", 0, 4},         {"PIDNo", 1, 5},         {"PIDNo", 2, 6},
    {"PTRpt", 0, 2},         {"PTRpt", 1, 0},         {"PTRpt", 2, 7},
    {"PTRptSet", 0, 9},      {"PTRptSet", 1, 1},      {"PTRptSet", 2, 8},
    {"SegRpt", 0, 3},        {"SegRpt", 1, 4},        {"SegRpt", 2, 0},
    {"SegRptSet", 0, 6},     {"SegRptSet", 1, 5},     {"SegRptSet", 2, 1},
    // Hours, minutes, seconds: minutes below 60 add nothing, 60 to 119 one minute.
    {"SegTime", 0, 3605},    {"SegTime", 1, 90},      {"SegTime", 2, 7319},
    {"SegTimeSet", 0, 7200}, {"SegTimeSet", 1, 45},   {"SegTimeSet", 2, 36059},
    {"RunTime", 0, 7204},    {"RunTime", 1, 3720},    {"RunTime", 2, 360001},
};

class Qel2400Line : public ::testing::TestWithParam<const char*> {};

// The statuses of the three channels in a record.
QList<int> Statuses(const QJsonObject& o) {
    return {o["Status"].toArray()[0].toInt(), o["Status"].toArray()[1].toInt(), o["Status"].toArray()[2].toInt()};
}

}  // namespace

// Guards a QEL2400 field misplaced, mis-scaled or of another channel, a low-byte status, times or end dates astray.
TEST_P(Qel2400Line, PollDecodesEveryFieldOfEveryChannel) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), {{5, "QEL2400"}}, Frozen({{5, kRegs}}))) << line.sim.stderrText().toStdString();
    const RunResult r = qeltest::Run(
        kQelPoll, PollArgs(line, 5, "QEL2400", {"--dp", "1,2,0", "--pcspeed", "60", "--count", "2", "--json"}));
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QList<QJsonObject> polls = Records(r.out);
    ASSERT_EQ(polls.size(), 2) << r.out.toStdString();
    for (const QJsonObject& o : polls) {
        EXPECT_EQ(o["FailCount"].toInt(), 0);
        ExpectFields(o, kFields);
        // Every cycle reads the end dates, running or not; month 13 and hour 25 roll on.
        EXPECT_EQ(EndDate(o, 0), "2024-05-06 07:08:00");
        EXPECT_EQ(EndDate(o, 1), "2026-01-01 00:59:00");
        EXPECT_EQ(EndDate(o, 2), "2024-01-01 01:00:00");
    }
}

INSTANTIATE_TEST_SUITE_P(Protocols, Qel2400Line, ::testing::Values("ETH", "RTU", "ASC"));

// Guards a key of one QEL2400 channel reaching another's register, or a poll mixing the channels' run states.
TEST(Qel2400Keys, EachChannelRunsHoldsAndStopsOnItsOwn) {
    SimLine line;
    ASSERT_TRUE(line.start("ETH", {{6, "QEL2400"}}, {"--no-noise"})) << line.sim.stderrText().toStdString();
    const QStringList args = PollArgs(line, 6, "QEL2400", {"--pcspeed", "50", "--json"});
    const auto press = [&](const char* key, int channel) {
        const RunResult r =
            qeltest::Run(kQelPoll, args + QStringList{"--key", key, "--channel", QString::number(channel)});
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        return LastRecord(r.out);
    };
    ASSERT_EQ(Statuses(LastRecord(qeltest::Run(kQelPoll, args).out)), (QList<int>{0, 0, 0}));

    // Key, channel, then the statuses of the poll after it and 0x0027..0x0029 as qelsim holds them: run 1 (a
    // program, as FixMode 0 asks), hold adds 4, stop 0.
    const struct { const char* key; int channel; QList<int> status; const char* registers; } steps[] = {
        {"run", 1, {1, 0, 0}, "1 0 0"}, {"run", 3, {1, 0, 1}, "1 0 1"},
        {"hold", 3, {1, 0, 5}, "1 0 5"}, {"stop", 1, {0, 0, 5}, "0 0 5"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(QStringLiteral("%1 on channel %2").arg(step.key).arg(step.channel).toStdString());
        const QJsonObject after = press(step.key, step.channel);
        ASSERT_EQ(after["FailCount"].toInt(), 0);
        EXPECT_EQ(Statuses(after), step.status);
        EXPECT_EQ(line.command("get 6 0x0027 3"), step.registers);
        EXPECT_EQ(line.command("get 6 0x0064 3"), "0 0 0");  // a key is a pulse
        EXPECT_EQ(At(after, "SegNo", 1), 0);                  // channel 2 has never run
    }
    EXPECT_GT(At(LastRecord(qeltest::Run(kQelPoll, args).out), "SegNo", 2), 0);  // held, still in its segment

    // The user key of channel 2 reaches 0x0065 alone.
    const QJsonObject user = press("user", 2);
    ExpectFields(user, {{"UserKeyState", 0, 0}, {"UserKeyState", 1, 1}, {"UserKeyState", 2, 0}});
    EXPECT_EQ(Statuses(user), (QList<int>{0, 0, 5}));
    EXPECT_EQ(line.command("get 6 0x002A 3"), "0 1 0");
}
