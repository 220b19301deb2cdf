// The QEL2200 (two channels under one pattern) and the QEL2300 (three rooms)
// as processes: qelpoll and the headless station (with a QEL2400 beside
// them) against qelsim and against a Modbus slave nobody here wrote, and
// pattern files of every model written into the controllers and read back.
// Every expected value is worked out here from the controllers' register
// maps and the pattern file layout, never taken from our own code.
#include "line_fixture.h"
#include "model_line_util.h"
#include "profile.h"
#include "ptn_layout.h"

#include <QJsonArray>
#include <QMap>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

// QEL2200, channel 1 at one decimal and channel 2 at two (qelpoll --dp 1,2):
// the registers of its one poll block 0x0000..0x006C.
const QList<Served> k2200Regs = {
    {0x0000, -400},   {0x0002, -32768}, {0x0003, 32767},  {0x0004, 8525},  {0x0008, 250},   {0x0009, -1},
    {0x0005, 555},    {0x0006, 1234},   {0x000B, -32768}, {0x000C, 3},     {0x0007, 4},     {0x000D, 32767},
    {0x000E, 0x00F0}, {0x000F, -1},     {0x0010, 0x1234}, {0x0011, -32767}, {0x0017, 2},    {0x0018, 3},
    {0x0019, 4},      {0x0012, 12},     {0x0013, 5},      {0x0015, 99},    {0x001A, 1},     {0x001B, 125},
    {0x0033, 2},      {0x0034, 9},      {0x0035, 3},      {0x0036, 6},     {0x0037, 2},     {0x0038, 30},
    {0x0068, 1},      {0x003E, 2024},   {0x003F, 5},      {0x0040, 6},     {0x0041, 7},     {0x0042, 8},
    {0x0063, 1},      {0x006B, -25},    {0x006C, 150},    {0x0069, 3},     {0x006A, 600},   {0x0043, 0x0101},
    {0x0050, 0xABCD}, {0x0051, 0x0042}, {0x0048, 1},      {0x0054, 7},
};
// What the QEL2200's block makes of them.
const QList<Field> k2200Fields = {
    {"PV", 0, -40.0},       {"PV", 1, -327.68},     {"SP", 0, 3276.7},      {"SP", 1, 85.25},
    {"TSP", 0, 25.0},       {"TSP", 1, -0.01},      {"MV", 0, 55.5},        {"MV", 1, 12.34},
    {"PVStat", 0, -32768},  {"PVStat", 1, 3},       {"PIDNo", 0, 4},        {"EvtWordD", 0, 32767},
    {"EvtWordC", 0, 240},   {"EvtWordA", 0, -1},    {"RelayWordB", 0, 4660}, {"RelayWordA", 0, -32767},
    {"RunTime", 0, 7384},   // 2 h 3 min 4 s: the minutes count here
    {"PTNo", 0, 12},        {"SegNo", 0, 5},        {"SegTime", 0, 3725},   {"PTRpt", 0, 2},
    {"PTRptSet", 0, 9},     {"SegRpt", 0, 3},       {"SegRptSet", 0, 6},    {"SegTimeSet", 0, 7230},
    {"EndShown", 0, 1},     {"FixMode", 0, 1},      {"TempDev", 0, -2.5},   {"TempDev", 1, 1.5},
    {"FixTime", 0, 11400},  {"Status", 0, 257},     // the whole register, not its low byte
    {"RelayWordD", 0, -21555}, {"RelayWordC", 0, 66}, {"UserKeyState", 0, 1},
    {"EvtMode", 0, 7},      // from 0x0054; 0x0015 holds 99
    // Nothing of the second channel's run state, which the pattern shares.
    {"PTNo", 1, 0},         {"SegNo", 1, 0},        {"PIDNo", 1, 0},        {"Status", 1, 0},
    {"EvtWordB", 0, 0},     {"LinkedRun", 0, 0},
};

// QEL2300 with its rooms at one, two and no decimals (qelpoll --dp 1,2,0):
// block 1 0x0002..0x0053 and block 2 0x008C..0x00DD.
const QList<Served> k2300Regs = {
    {0x0005, 0x1201}, {0x0002, 1},      {0x0003, -32768}, {0x0004, 32767},  {0x0006, -400},  {0x0007, -32768},
    {0x0008, 32767},  {0x0009, 1250},   {0x000A, 2500},   {0x000B, -40},    {0x000C, 1000},  {0x000D, 5},
    {0x000E, -1},     {0x000F, 1},      {0x0010, 2},      {0x0011, 3},      {0x0012, 0x0102}, {0x0013, -32768},
    {0x0014, 0x0010}, {0x0015, 32767},  {0x0016, 0x00FF}, {0x0017, 1},      {0x0018, 59},    {0x0019, 59},
    {0x001A, 21},     {0x001B, 77},     {0x003D, 0x123A}, {0x003E, 0xBCDE}, {0x0025, 0x0033}, {0x001C, 0},
    {0x001D, 3599},   {0x008C, 4},      {0x008D, 10},     {0x00B8, 5},      {0x0097, 2025},  {0x0098, 12},
    {0x0099, 31},     {0x009A, 23},     {0x009B, 59},     {0x0090, 1},      {0x0091, 1800},  {0x00A2, 1},
    {0x00B5, 2},      {0x00B9, -32768}, {0x00B6, 7},      {0x00B7, -1},
};
const QList<Field> k2300Fields = {
    {"Status", 0, 1},       // low byte of 0x0005 only
    {"Status", 1, 0},       {"Status", 2, 0},       {"PVStat", 0, 1},       {"PVStat", 1, -32768},
    {"PVStat", 2, 32767},   {"PV", 0, -40.0},       {"PV", 1, -327.68},     {"PV", 2, 32767},
    {"SP", 0, 125.0},       {"SP", 1, 25.0},        {"SP", 2, -40},         {"MV", 0, 100.0},
    {"MV", 1, 0.05},        {"MV", 2, -1},          {"PIDNo", 0, 1},        {"PIDNo", 1, 2},
    {"PIDNo", 2, 3},        {"EvtWordD", 0, 258},   {"EvtWordC", 0, -32768}, {"EvtWordA", 0, 16},
    {"RelayWordB", 0, 32767}, {"RelayWordA", 0, 255}, {"RunTime", 0, 7199}, {"PTNo", 0, 21},
    // Last digit of 0x003D (A) and first three of 0x003E (BCD): 0xABCD.
    {"RelayWordD", 0, -21555},
    {"RelayWordC", 0, 51},  {"SegTime", 0, 3599},   {"PTRpt", 0, 4},        {"PTRptSet", 0, 10},
    {"EvtMode", 0, 5},      {"SegTimeSet", 0, 5400}, {"UserKeyState", 0, 1}, {"Side", 0, 2},
    {"SideMark", 0, -32768}, {"SideAltA", 0, 7},    {"SideAltB", 0, -1},
    // No set point ramp and no segment number on this model (0x001B holds 77).
    {"TSP", 0, 0},          {"SegNo", 0, 0},
};

class ModelLine : public ::testing::TestWithParam<const char*> {};

}  // namespace

// Guards against QEL2200 fields misplaced or mis-scaled, a low-byte status, EvtMode from 0x0015, an early end date.
TEST_P(ModelLine, Qel2200PollDecodesEveryField) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), {{7, "QEL2200"}}, Frozen({{7, k2200Regs}})))
        << line.sim.stderrText().toStdString();
    const RunResult r = qeltest::Run(
        kQelPoll, PollArgs(line, 7, "QEL2200", {"--dp", "1,2", "--pcspeed", "60", "--count", "2", "--json"}));
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QList<QJsonObject> polls = Records(r.out);
    ASSERT_EQ(polls.size(), 2) << r.out.toStdString();
    for (const QJsonObject& o : polls) {
        EXPECT_EQ(o["FailCount"].toInt(), 0);
        ExpectFields(o, k2200Fields);
    }
    // The status of a cycle is decoded after its end date: the first poll has no status yet.
    EXPECT_EQ(EndDate(polls[0]), "0");
    EXPECT_EQ(EndDate(polls[1]), "2024-05-06 07:08:00");
    EXPECT_EQ(EndDate(polls[1], 1), "0");
}

// Guards against QEL2300 rooms scaled alike, a whole-register status, a straight RelayWordD, a misplaced block 2.
TEST_P(ModelLine, Qel2300PollDecodesEveryField) {
    SimLine line;
    ASSERT_TRUE(line.start(GetParam(), {{9, "QEL2300"}}, Frozen({{9, k2300Regs}})))
        << line.sim.stderrText().toStdString();
    const RunResult r = qeltest::Run(
        kQelPoll, PollArgs(line, 9, "QEL2300", {"--dp", "1,2,0", "--pcspeed", "60", "--count", "2", "--json"}));
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QList<QJsonObject> polls = Records(r.out);
    ASSERT_EQ(polls.size(), 2) << r.out.toStdString();
    for (const QJsonObject& o : polls) {
        EXPECT_EQ(o["FailCount"].toInt(), 0);
        ExpectFields(o, k2300Fields);
        EXPECT_EQ(EndDate(o), "2025-12-31 23:59:00");  // block 2 sees this cycle's status
    }
}

// Guards the station polling otherwise than qelpoll, places not by its settings, one log for QEL2400 channels.
TEST_P(ModelLine, StationRecordsWhatEachModelServes) {
    SimLine line;
    const QList<Served> qel2200 = {{0x0000, -400}, {0x0002, 8525}, {0x0003, 250},  {0x0004, -1050},
                                   {0x0005, 555},  {0x0006, 10000}, {0x0043, 0x0102}, {0x0012, 14}};
    const QList<Served> qel2300 = {{0x0005, 0x0301}, {0x0006, 1500}, {0x0007, 251}, {0x0008, -655},
                                   {0x0009, 1500},   {0x000A, 250},  {0x000B, -700}, {0x000C, 1000},
                                   {0x000D, 0},      {0x000E, -1},   {0x001A, 3}};
    // QEL2400: channel 1 runs a program, 2 stands, 3 runs fixed (0x0102: the run bits in the low byte).
    const QList<Served> qel2400 = {{0x0009, -400}, {0x000A, 8525}, {0x000B, 251},   {0x000C, 250}, {0x000D, -1050},
                                   {0x000E, -70},  {0x0012, 555},  {0x0013, 10000}, {0x0014, 100}, {0x0027, 1},
                                   {0x0028, 0}, {0x0029, 0x0102}, {0x00C8, 14}, {0x00C9, 15},    {0x00CA, 16}};
    ASSERT_TRUE(line.start(GetParam(), {{1, "QEL2200"}, {2, "QEL2300"}, {3, "QEL2400"}},
                           Frozen({{1, qel2200}, {2, qel2300}, {3, qel2400}})))
        << line.sim.stderrText().toStdString();
    // Two places on the second channel of each, none on the QEL2400's third, one (the shipped "0") elsewhere.
    const QString tags = line.folder() + "/SetUserTag.ini";
    for (const char* chamber : {"1", "2", "3"}) ASSERT_TRUE(qel::WriteProfileString("SDP_2", chamber, "00/", tags));
    ASSERT_TRUE(qel::WriteProfileString("SDP_3", "3", "/", tags));
    const RunResult r =
        qeltest::Run(kStation, {"--headless", "--app-dir", line.folder(), "--cycles", "4", "--json"});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    QMap<int, QJsonObject> last;
    for (const QJsonObject& o : Records(r.out)) last[o["Chamber"].toInt()] = o;
    ASSERT_EQ(last.keys(), (QList<int>{1, 2, 3})) << r.out.toStdString();
    for (int c : {1, 2, 3}) EXPECT_EQ(last[c]["FailCount"].toInt(), 0) << c;
    ExpectFields(last[1], {{"PV", 0, -40.0}, {"PV", 1, 85.25}, {"SP", 0, 25.0}, {"SP", 1, -10.5},
                           {"MV", 0, 55.5}, {"MV", 1, 100.0}, {"Status", 0, 258}, {"PTNo", 0, 14}});
    ExpectFields(last[2], {{"PV", 0, 150.0}, {"PV", 1, 2.51}, {"PV", 2, -65.5}, {"SP", 0, 150.0},
                           {"SP", 1, 2.5},   {"SP", 2, -70.0}, {"MV", 0, 100.0}, {"MV", 1, 0.0},
                           {"MV", 2, -0.1},  {"Status", 0, 1}, {"PTNo", 0, 3}});
    ExpectFields(last[3], {{"PV", 0, -40.0}, {"PV", 1, 85.25}, {"PV", 2, 251},  {"SP", 0, 25.0},  {"SP", 1, -10.5},
                           {"SP", 2, -70},   {"MV", 0, 55.5},  {"MV", 1, 100.0}, {"MV", 2, 100},  {"Status", 0, 1},
                           {"Status", 1, 0}, {"Status", 2, 258}, {"PTNo", 0, 14}, {"PTNo", 1, 15}, {"PTNo", 2, 16}});
    const QStringList logs = last[3]["DataLog"].toVariant().toStringList();
    ASSERT_EQ(logs.size(), 3) << r.out.toStdString();
    EXPECT_TRUE(QRegularExpression("/DATA/Sim 3/\\d{14}_1\\.log$").match(logs[0]).hasMatch()) << logs[0].toStdString();
    EXPECT_EQ(logs[1], QString());
    EXPECT_TRUE(QRegularExpression("/DATA/Sim 3/\\d{14}_3\\.log$").match(logs[2]).hasMatch()) << logs[2].toStdString();
}

INSTANTIATE_TEST_SUITE_P(Protocols, ModelLine, ::testing::Values("ETH", "RTU", "ASC"));

// Guards against qelpoll and qelsim sharing one wrong idea of the QEL2200's map (pymodbus holds the words).
TEST(Qel2200Reference, ReadsWhatAReferenceSlaveHolds) {
    const QString python = "/usr/bin/python3";
    if (qeltest::Run(python, {"-c", "import pymodbus.server, serial_asyncio"}, 20000).exitCode != 0)
        GTEST_SKIP() << "python3-pymodbus with serial-asyncio is not installed";
    const quint16 port = FreePort();
    ChildProcess peer;
    ASSERT_TRUE(peer.start(python, {PYMODBUS_PEER, "0x0000=0xFF38", "0x0004=4550", "0x0017=1", "0x0018=2",
                                    "0x0019=3", "0x0015=9", "0x0054=3", "0x0043=0x0102", "0x0050=0x8000",
                                    "0x003E=2024", "0x003F=5", "0x0040=6", "0x0041=7", "0x0042=8", "--mode",
                                    QString::number(port)}));
    ASSERT_FALSE(peer.waitForLine("ready").isNull()) << peer.stderrText().toStdString();
    QTemporaryDir logs;
    const RunResult r = qeltest::Run(kQelPoll, {"--protocol", "ETH", "--ip", "127.0.0.1", "--remote-port",
                                                QString::number(port), "--address", "1", "--model", "QEL2200", "--dp",
                                                "1,2", "--pcspeed", "150", "--count", "2", "--json", "--app-dir",
                                                logs.path()});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    const QJsonObject o = LastRecord(r.out);
    ExpectFields(o, {{"PV", 0, -20.0}, {"SP", 1, 45.5}, {"RunTime", 0, 3723}, {"EvtMode", 0, 3},
                     {"Status", 0, 258}, {"RelayWordD", 0, -32768}, {"FailCount", 0, 0}});
    EXPECT_EQ(EndDate(o), "2024-05-06 07:08:00");
}

namespace {

// A pattern file of one model through qelpoll: the options, the file's texts,
// values no register of the model takes (each refused alone), and members of
// the file read back (an empty text: not in the file).
struct PatternFile {
    const char* model;
    QStringList options;
    const char* number;
    Texts (*in)();
    Texts refused;
    Texts back;
};

const PatternFile kPatternFiles[] = {
    {"QEL2100", {"--channel", "2"}, "5",
     [] {
         Texts t = {{{PatternNo, 0}, "5"}, {{StartSP, 0}, "25.0"}, {{PatternRepeat, 0}, "2"}};
         Fill(t, SegSP, {"40.0", "-20.5"});
         Fill(t, SegTime, {"120", "3700"});
         Fill(t, SegSignal1 + 1, {"3"});
         return t;
     },
     {{{SegSP, 1}, "4000.0"}},  // 40000 at one place
     // Every segment an hour longer; a zero channel repeat as 1.
     {{{StartSP, 0}, "25.0"}, {{SegTime, 0}, "3720"}, {{SegTime, 1}, "7300"}, {{SegSignal1 + 1, 0}, "3"},
      {{SegSignal1 + 1, 1}, "0"}, {{ChannelRepeat, 0}, "1"}, {{SegmentCount, 0}, "2"}}},
    {"QEL2200", {"--dp", "1,2"}, "4",
     [] {
         Texts t = {{{PatternNo, 0}, "4"},      {{StartSP, 0}, "-10.0"},   {{StartSP2, 0}, "50.0"},
                    {{StartType, 0}, "2"},      {{PatternRepeat, 0}, "3"}, {{ChannelRepeat, 0}, "0"},
                    {{EndMode, 0}, "2"}};
         Fill(t, SegSP, {"-40.0", "150.5", "25.0"});
         Fill(t, SegSP2, {"85.25", "", "-327.68"});
         Fill(t, SegTime, {"0", "5400", "117961199"});  // 32766 h 59 min 59 s: 32767 with the extra hour
         Fill(t, SegSignal1 + 7, {"12"});
         Fill(t, SegAux1, {"7"});  // the QEL2200 has no aux values: never sent
         Fill(t, LoopStart, {"1", "2"});
         Fill(t, LoopCount, {"5", "0"});
         return t;
     },
     {{{SegSP, 1}, "4000.0"}, {{SegSP2, 0}, "327.68"},  // 32768 at channel 2's two places
      {{SegTime, 2}, "117961200"}, {{StartSP, 0}, "-3276.9"}},
     {{{StartSP2, 0}, "50.0"}, {{SegSP2, 0}, "85.25"}, {{SegSP2, 1}, "0.00"}, {{SegSP2, 2}, "-327.68"},
      {{SegTime, 0}, "3600"}, {{SegTime, 2}, "117964799"}, {{SegSignal1 + 7, 0}, "12"}, {{SegAux1, 0}, ""},
      {{LoopStart, 1}, "2"}, {{LoopCount, 0}, "5"}, {{ChannelRepeat, 0}, "1"}}},
    // The QEL2300's room program, its Ex room out (defrost type 1): the Ex signals go as zeros, an empty
    // pre-heat temperature as -200.0; the hours go plain (32767 h fits).
    {"QEL2300", {}, "6",
     [] {
         Texts t = {{{PatternNo, 0}, "6"},      {{PatternRepeat, 0}, "2"},   {{EndMode2300, 0}, "1"},
                    {{DefrostType, 0}, "1"},    {{HiRoomMode, 0}, "1"},      {{LoRoomMode, 0}, "2"},
                    {{DefrostPeriod, 0}, "12"}, {{DefrostTime, 0}, "300"},   {{DefrostTemp, 0}, "-5.5"}};
         Fill(t, SegSP, {"150.0", "25.0", "-65.5"});
         Fill(t, SegSP2, {"", "30.0", "-45.5"});
         Fill(t, SegTime, {"1800", "3661", "117964799"});
         Fill(t, SegSignal1, {"1", "2", "3", "4", "5", "6", "7", "8"});
         Fill(t, SegSignal1 + 1, {"9", "10"});
         Fill(t, SegSignal1 + 2, {"17", "", "19"});
         return t;
     },
     {{{SegSP, 0}, "4000.0"}, {{DefrostTemp, 0}, "4000.0"}, {{SegSP2, 2}, "-3276.9"}, {{SegTime, 1}, "117964800"}},
     {{{DefrostType, 0}, "1"}, {{DefrostTime, 0}, "&h012C"}, {{DefrostTemp, 0}, "-5.5"}, {{SegSP, 2}, "-65.5"},
      {{SegSP2, 0}, "-200.0"}, {{SegSP2, 1}, "0.0"}, {{SegTime, 1}, "3661"}, {{SegTime, 2}, "117964799"},
      {{SegSignal1 + 1, 1}, "0"}, {{SegSignal1 + 2, 2}, "19"}}},
    // The same with the Ex room in (defrost type 3): its signals are written.
    {"QEL2300", {}, "7",
     [] {
         Texts t = {{{PatternNo, 0}, "7"}, {{DefrostType, 0}, "3"}, {{SegSP2, 0}, "110.0"}};
         Fill(t, SegTime, {"1800", "60", "60"});
         Fill(t, SegSignal1 + 1, {"9", "10"});
         return t;
     },
     {},
     {{{DefrostType, 0}, "3"}, {{SegSP2, 0}, "110.0"}, {{SegSP2, 2}, "-200.0"}, {{SegSignal1 + 1, 1}, "10"}}},
    // Channel 3 at two places, channel 1 at none: a set point that fits channel 1 may not fit channel 3.
    {"QEL2400", {"--dp", "0,1,2", "--channel", "3"}, "9",
     [] {
         Texts t = {{{PatternNo, 0}, "9"},      {{StartSP, 0}, "-40.0"},   {{StartSP2, 0}, "77.7"},
                    {{StartType, 0}, "1"},      {{PatternRepeat, 0}, "3"}, {{ChannelRepeat, 0}, "0"},
                    {{EndMode, 0}, "2"}};
         Fill(t, SegSP, {"-40.0", "150.55", "327.67"});
         Fill(t, SegSP2, {"1.5"});  // not a QEL2400 member: never sent
         Fill(t, SegTime, {"0", "5400", "117961199"});
         Fill(t, SegSignal1 + 2, {"", "", "5"});
         Fill(t, SegAux1, {"7"});
         Fill(t, SegAux1 + 3, {"", "-3"});
         Fill(t, LoopStart, {"1", "2"});
         return t;
     },
     {{{SegSP, 1}, "327.68"}, {{StartSP, 0}, "-327.69"}, {{SegAux1 + 1, 0}, "32768"}, {{SegTime, 2}, "117961200"},
      {{ChannelRepeat, 0}, "40000"}},
     // Set points at channel 3's places, the aux values from the registers behind those written.
     {{{StartSP, 0}, "-40.00"}, {{SegSP, 1}, "150.55"}, {{SegSP, 2}, "327.67"}, {{SegSP2, 0}, ""},
      {{SegTime, 2}, "117964799"}, {{SegSignal1 + 2, 2}, "5"}, {{SegAux1, 0}, "7"}, {{SegAux1 + 3, 1}, "-3"},
      {{LoopStart, 1}, "2"}, {{ChannelRepeat, 0}, "1"}, {{SegmentCount, 0}, "3"}}},
};

void PrintTo(const PatternFile& p, std::ostream* os) { *os << p.model << " pattern " << p.number; }

class PatternFiles : public ::testing::TestWithParam<std::tuple<std::string, PatternFile>> {};

}  // namespace

// Guards qelpoll sending an unfit file, and a pattern moved through another window, channel or scaling, or changed.
TEST_P(PatternFiles, WrittenFromAFileAndReadBack) {
    const auto& [protocol, p] = GetParam();
    SimLine line;
    const int address = 4;
    ASSERT_TRUE(line.start(QString::fromStdString(protocol), {{address, p.model}}, {"--no-noise"}))
        << line.sim.stderrText().toStdString();
    const QStringList args = PollArgs(line, address, p.model, p.options + QStringList{"--pcspeed", "50"});
    const auto write = [&](const QByteArray& file) {
        QFile f(line.folder() + "/in.PTN");
        EXPECT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(file);
        f.close();
        return qeltest::Run(kQelPoll, args + QStringList{"--write-pattern", f.fileName()});
    };
    const Texts in = p.in();
    QList<std::pair<QString, QByteArray>> unfit = {{"short", PtnFile(in).left(100)}};
    for (auto b = p.refused.begin(); b != p.refused.end(); ++b) {
        Texts t = in;
        t[b.key()] = b.value();
        unfit.append({QString::fromLatin1(b.value()), PtnFile(t)});
    }
    for (const auto& [what, file] : unfit) {
        const RunResult r = write(file);
        EXPECT_EQ(r.exitCode, 2) << what.toStdString() << ": " << r.err.toStdString();
        EXPECT_TRUE(r.err.startsWith("qelpoll: ")) << r.err.toStdString();
    }
    EXPECT_EQ(line.requests(address), 0);

    const RunResult w = write(PtnFile(in));
    ASSERT_EQ(w.exitCode, 0) << w.err.toStdString();
    const QString out = line.folder() + "/out.PTN";
    const RunResult r = qeltest::Run(kQelPoll, args + QStringList{"--read-pattern", p.number, "--ptn", out});
    ASSERT_EQ(r.exitCode, 0) << r.err.toStdString();
    QFile back(out);
    ASSERT_TRUE(back.open(QIODevice::ReadOnly));
    const Texts got = Items(back.readAll());
    for (auto b = p.back.begin(); b != p.back.end(); ++b)
        EXPECT_EQ(got.value(b.key()), b.value()) << "member " << b.key().first + 1 << "[" << b.key().second << "]";
}

INSTANTIATE_TEST_SUITE_P(Models, PatternFiles,
                         ::testing::Combine(::testing::Values(std::string("ETH"), std::string("RTU")),
                                            ::testing::ValuesIn(kPatternFiles)),
                         [](const auto& i) {
                             return std::get<0>(i.param) + "_" + std::get<1>(i.param).model + "_" +
                                    std::get<1>(i.param).number;
                         });
