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

// Guards against a field of the QEL2400 misplaced, mis-scaled or taken from
// another channel, a low-byte status, FixTime or run times read in other
// units, end dates of the wrong channel, a block too short for LinkedRun.
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

// Guards against the station polling the QEL2400 otherwise than qelpoll, or
// taking a channel's places from anything but its own SDP setting; and
// against one data log for channels that run on their own.
TEST_P(Qel2400Line, StationRecordsWhatEachChannelServes) {
    SimLine line;
    // Channel 1 runs a program, 2 stands, 3 runs fixed (0x0102: the run bits in the low byte).
    const QList<Served> served = {{0x0009, -400}, {0x000A, 8525}, {0x000B, 251},  {0x000C, 250},  {0x000D, -1050},
                                  {0x000E, -70},  {0x0012, 555},  {0x0013, 10000}, {0x0014, 100}, {0x0027, 1},
                                  {0x0028, 0},    {0x0029, 0x0102}, {0x00C8, 14}, {0x00C9, 15},   {0x00CA, 16}};
    ASSERT_TRUE(line.start(GetParam(), {{3, "QEL2400"}}, Frozen({{3, served}}))) << line.sim.stderrText().toStdString();
    // One place on channel 1 (as shipped), two on channel 2, none on channel 3.
    const QString tags = line.folder() + "/SetUserTag.ini";
    ASSERT_TRUE(qel::WriteProfileString("SDP_2", "1", "00/", tags));
    ASSERT_TRUE(qel::WriteProfileString("SDP_3", "1", "/", tags));
    const RunResult r =
        qeltest::Run(kStation, {"--headless", "--app-dir", line.folder(), "--cycles", "4", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject o = LastRecord(r.out);
    ASSERT_EQ(o["Chamber"].toInt(), 1) << r.out.toStdString();
    EXPECT_EQ(o["FailCount"].toInt(), 0);
    ExpectFields(o, {{"PV", 0, -40.0}, {"PV", 1, 85.25}, {"PV", 2, 251},  {"SP", 0, 25.0},  {"SP", 1, -10.5},
                     {"SP", 2, -70},   {"MV", 0, 55.5},  {"MV", 1, 100.0}, {"MV", 2, 100},  {"Status", 0, 1},
                     {"Status", 1, 0}, {"Status", 2, 258}, {"PTNo", 0, 14}, {"PTNo", 1, 15}, {"PTNo", 2, 16}});
    const QStringList logs = o["DataLog"].toVariant().toStringList();
    ASSERT_EQ(logs.size(), 3) << r.out.toStdString();
    EXPECT_TRUE(QRegularExpression("/DATA/Sim 1/\\d{14}_1\\.log$").match(logs[0]).hasMatch()) << logs[0].toStdString();
    EXPECT_EQ(logs[1], QString());
    EXPECT_TRUE(QRegularExpression("/DATA/Sim 1/\\d{14}_3\\.log$").match(logs[2]).hasMatch()) << logs[2].toStdString();
    EXPECT_GT(line.requests(3), 0);
}

INSTANTIATE_TEST_SUITE_P(Protocols, Qel2400Line, ::testing::Values("ETH", "RTU", "ASC"));

// Guards against a key of one channel reaching another's register (the
// QEL2000's table puts channels 2 and 3 on one), or a poll that mixes the
// channels' run states.
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
    QJsonObject before = LastRecord(qeltest::Run(kQelPoll, args).out);
    ASSERT_EQ(Statuses(before), (QList<int>{0, 0, 0}));

    // Key, channel, then the statuses of the poll after it: run 1 (a program, as
    // FixMode 0 asks), hold adds 4, stop 0.
    const struct {
        const char* key;
        int channel;
        QList<int> status;
        const char* registers;  // 0x0027..0x0029 as qelsim holds them
    } steps[] = {
        {"run", 1, {1, 0, 0}, "1 0 0"},
        {"run", 3, {1, 0, 1}, "1 0 1"},
        {"hold", 3, {1, 0, 5}, "1 0 5"},
        {"stop", 1, {0, 0, 5}, "0 0 5"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(QStringLiteral("%1 on channel %2").arg(step.key).arg(step.channel).toStdString());
        const QJsonObject after = press(step.key, step.channel);
        ASSERT_EQ(after["FailCount"].toInt(), 0);
        EXPECT_EQ(Statuses(after), step.status);
        EXPECT_EQ(line.command("get 6 0x0027 3"), step.registers);
        EXPECT_EQ(line.command("get 6 0x0064 3"), "0 0 0");  // a key is a pulse
        for (int ch = 0; ch < 3; ++ch) {
            if (ch == step.channel - 1) continue;
            EXPECT_EQ(At(after, "PTNo", ch), At(before, "PTNo", ch)) << "channel " << ch + 1;
            EXPECT_EQ(At(after, "UserKeyState", ch), At(before, "UserKeyState", ch)) << "channel " << ch + 1;
        }
        // Channel 2 has never run: no segment, no run time.
        EXPECT_EQ(At(after, "SegNo", 1), 0);
        EXPECT_EQ(At(after, "RunTime", 1), 0);
        before = after;
    }
    EXPECT_GT(At(before, "SegNo", 2), 0);  // the held program is still in its segment

    // The user key of channel 2 reaches 0x0065 alone.
    const QJsonObject user = press("user", 2);
    ExpectFields(user, {{"UserKeyState", 0, 0}, {"UserKeyState", 1, 1}, {"UserKeyState", 2, 0}});
    EXPECT_EQ(Statuses(user), (QList<int>{0, 0, 5}));
    EXPECT_EQ(line.command("get 6 0x002A 3"), "0 1 0");
}

namespace {

class Qel2400Pattern : public PatternLine {};

}  // namespace

// Guards against a channel 3 pattern written to or read from another
// channel's registers (start set point, repeat word, patterns kept per
// channel), scaled by another channel's places, changed on its way other
// than by the extra hour, aux values lost, or an unfit file sent at all.
TEST_P(Qel2400Pattern, Channel3PatternWrittenFromAFileAndReadBack) {
    ASSERT_TRUE(line.start(GetParam(), {{address, "QEL2400"}}, {"--no-noise"})) << line.sim.stderrText().toStdString();
    // Channel 3 at two places, channel 1 at none: a set point that fits channel 1 may not fit channel 3.
    const QStringList common = PollArgs(line, address, "QEL2400", {"--dp", "0,1,2", "--pcspeed", "50"});
    const QStringList args = common + QStringList{"--channel", "3"};
    Texts in = {{{PatternNo, 0}, "9"},     {{StartSP, 0}, "-40.0"},   {{StartSP2, 0}, "77.7"},
                {{StartType, 0}, "1"},     {{SegmentCount, 0}, "3"},  {{PatternRepeat, 0}, "3"},
                {{ChannelRepeat, 0}, "0"}, {{EndMode, 0}, "2"}};
    Fill(in, SegSP, {"-40.0", "150.55", "327.67"});
    Fill(in, SegSP2, {"1.5"});                          // not a QEL2400 member: never sent
    Fill(in, SegTime, {"0", "5400", "117961199"});      // 32766 h 59 min 59 s: 32767 with the extra hour
    Fill(in, SegSignal1, {"1"});
    Fill(in, SegSignal1 + 2, {"", "", "5"});
    Fill(in, SegSignal1 + 7, {"12"});
    Fill(in, SegAux1, {"7"});
    Fill(in, SegAux1 + 3, {"", "-3"});
    Fill(in, SegUse, {"1", "0"});
    Fill(in, LoopStart, {"1", "2"});
    Fill(in, LoopEnd, {"2", "3"});
    Fill(in, LoopCount, {"5", "0"});

    ExpectRefused(args, in, {{{SegSP, 1}, "327.68"},        // 32768 at channel 3's two places
                             {{StartSP, 0}, "-327.69"},
                             {{SegAux1 + 1, 0}, "32768"},
                             {{SegTime, 2}, "117961200"},   // 32767 h, sent as 32768 with the extra hour
                             {{ChannelRepeat, 0}, "40000"}});

    // The other channels' repeat words hold something the save must overwrite.
    ASSERT_FALSE(line.command(QStringLiteral("set %1 0x01B9 7").arg(address)).isNull());
    ASSERT_FALSE(line.command(QStringLiteral("set %1 0x01BA 7").arg(address)).isNull());

    // Read back: one hour more per segment, set points at channel 3's two places,
    // the aux values from the registers behind those written, empty signals,
    // use flags and loop rows as the controller holds them, a zero repeat as 1.
    Texts want = {{{PatternNo, 0}, "9"},     {{StartSP, 0}, "-40.00"},  {{StartType, 0}, "1"},
                  {{SegmentCount, 0}, "3"},  {{PatternRepeat, 0}, "3"}, {{ChannelRepeat, 0}, "1"},
                  {{EndMode, 0}, "2"}};
    Fill(want, SegSP, {"-40.00", "150.55", "327.67"});
    Fill(want, SegTime, {"3600", "9000", "117964799"});
    for (int s = 0; s < 8; ++s) Fill(want, SegSignal1 + s, {"0", "0", "0"});
    for (int a = 0; a < 4; ++a) Fill(want, SegAux1 + a, {"0", "0", "0"});
    Fill(want, SegSignal1, {"1"});
    Fill(want, SegSignal1 + 2, {"0", "0", "5"});
    Fill(want, SegSignal1 + 7, {"12"});
    Fill(want, SegAux1, {"7"});
    Fill(want, SegAux1 + 3, {"0", "-3"});
    Fill(want, SegUse, {"1", "0", "0"});
    Fill(want, LoopStart, {"1", "2", "0", "0"});
    Fill(want, LoopEnd, {"2", "3", "0", "0"});
    Fill(want, LoopCount, {"5", "0", "0", "0"});
    ExpectRoundTrip(args, in, "9", PtnFile(want));
    if (HasFatalFailure()) return;

    // What channel 3's pattern 9 holds, loaded through the command window by hand.
    const auto load = [&](int segment) {
        for (const QString& s : {QStringLiteral("0x018F 2"), QStringLiteral("0x0190 9"),
                                 QStringLiteral("0x0191 %1").arg(segment), QStringLiteral("0x0196 2")})
            ASSERT_FALSE(line.command(QStringLiteral("set %1 ").arg(address) + s).isNull());
    };
    const auto get = [&](const char* reg, int n) {
        return line.command(QStringLiteral("get %1 %2 %3").arg(address).arg(reg).arg(n));
    };
    load(0);
    // Repeat 3, end mode 2, the repeats of channels 1 and 2 set to 0 and channel 3's zero sent as 1.
    EXPECT_EQ(get("0x01B7", 5), "3 2 0 0 1");
    EXPECT_EQ(get("0x0221", 1), "3");
    EXPECT_EQ(get("0x0199", 1), "1");
    EXPECT_EQ(get("0x019C", 1), "61536");  // -4000: -40.0 at two places, channel 3's start set point
    load(1);
    // Segment 1: -4000, hours 0 + 1, rest 0; the signals; aux written to 0x01A8 and shown at 0x01AC.
    EXPECT_EQ(get("0x019D", 11), "61536 1 0 1 0 0 0 0 0 0 12");
    EXPECT_EQ(get("0x01A8", 8), "7 0 0 0 7 0 0 0");
    EXPECT_EQ(get("0x01B1", 1), "1");

    // Patterns are kept per channel: pattern 9 of channel 1 has no segments.
    const QString other = line.folder() + "/channel1.PTN";
    const RunResult r =
        qeltest::Run(kQelPoll, common + QStringList{"--channel", "1", "--read-pattern", "9", "--ptn", other});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    QFile f(other);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const Texts read = Items(f.readAll());
    EXPECT_EQ(read.value({SegmentCount, 0}), "0");
    EXPECT_EQ(read.value({SegTime, 0}), QByteArray());
    EXPECT_EQ(read.value({PatternNo, 0}), "9");
}

INSTANTIATE_TEST_SUITE_P(Protocols, Qel2400Pattern, ::testing::Values("ETH", "RTU"));
