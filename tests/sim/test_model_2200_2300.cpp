// The QEL2200 and QEL2300 models through Modbus pdus only, time passed in.
// Register numbers and request bodies are written out from the controllers'
// map and from what the station sends, not taken from the models.
#include <gtest/gtest.h>

#include "model.h"
#include "options.h"
#include "sim_test_util.h"

using namespace qelsim;
using simtest::H;

using simtest::Send;

namespace {

const QDateTime Start(QDate(2024, 1, 31), QTime(8, 15, 7));

std::unique_ptr<Chamber> Make(const char* model, std::vector<int> decimals) {
    auto chamber = MakeChamber({1, model, std::move(decimals), false});
    chamber->step(Start);
    return chamber;
}

// A block read, the words as unsigned 16-bit values.
std::vector<uint16_t> Read(Chamber& c, int reg, int count) {
    const QByteArray reply = c.handlePdu(QByteArray::fromHex(QString::asprintf("03%04X%04X", reg, count).toLatin1()));
    std::vector<uint16_t> words;
    if (reply.size() != 2 + 2 * count || reply[0] != '\x03') {
        ADD_FAILURE() << "read of " << reg << " answered " << reply.toHex().constData();
        return words;
    }
    for (int i = 0; i < count; ++i)
        words.push_back(static_cast<uint16_t>((static_cast<uint8_t>(reply[2 + 2 * i]) << 8) |
                                              static_cast<uint8_t>(reply[3 + 2 * i])));
    return words;
}
uint16_t Reg(Chamber& c, int reg) {
    const std::vector<uint16_t> w = Read(c, reg, 1);
    return w.empty() ? 0xDEAD : w[0];
}

struct Expect {
    int reg;
    uint16_t value;
    const char* meaning;
};
void Check(Chamber& c, std::initializer_list<Expect> rows) {
    for (const Expect& e : rows) EXPECT_EQ(Reg(c, e.reg), e.value) << e.meaning << " (0x" << std::hex << e.reg << ")";
}

std::vector<uint16_t> EndDate2200(Chamber& c) { return Read(c, 0x003E, 5); }
std::vector<uint16_t> EndDate2300(Chamber& c) { return Read(c, 0x0097, 5); }

// Pattern 3 as the station's save writes it: start SPs 25.0 / 50, segment 1
// to 50.0 / 80 with hours register 1 and remainder 1800, segment 2 to -10.0 / 60
// with hours 2, pattern repeat 2. Channel 1 has one decimal, channel 2 none.
void SavePattern3(Chamber& c) {
    Send(c, {"10051D000306000300030005", "10051900020400030000", "10001E000306000000FA0032", "06051F0003",
             "06051A0001", "100530000D1A01F400500001" "0708" "00000000000000000000000000000000" "0001", "06051F0003",
             "06051A0002", "100530000D1AFF9C003C0002" "0000" "00000000000000000000000000000000" "0001", "06051F0003",
             "10051900020400030000", "100021000F1E000200010000000000000000000000000000000000000000000000000000",
             "06051F0003"});
}

// Pattern 4 of a QEL2300 as the station's save writes it: repeat 2, the given defrost
// type, Hi 150.0 for 1 h, Ex 25 for 15 min, Lo -40.00 for 30 min (rooms with 1, 0 and
// 2 decimals), pre-temperatures 160.0 and -50.00, time signals 1..8, 0, 11..18.
void SaveRoomProgram4(Chamber& c, int defrostType) {
    Send(c, {"100900000306000400040005", "0608FC0004"});
    Send(c, QByteArray("10091800050A0002000000") + QByteArray::number(defrostType, 16).rightJustified(2, '0') +
                "00010001");
    Send(c, {"10091D000306000000000000", "10092000030605DC0019F060", "10092300020400010000"});
    if (defrostType < 2) Send(c, "10092500020400000000");  // the Ex room zeroed first when it is off
    Send(c, {"10092500020400000384", "10092700020400000708", "1009290003060640" "0000" "EC78",
             "10092C00081000010002000300040005000600070008",
             defrostType < 2 ? "10093400081000000000000000000000000000000000"
                             : "10093400081000090009000900090009000900090009",
             "10093C0008100011001200130014001500160017" "0018",
             "0609020003"});
}

}  // namespace

// Guards the QEL2200 live map in a fixed run: each channel scaled by its own DP, one
// whole-register status, run time, end date, the key register a pulse.
TEST(Model2200And2300, Qel2200FixedRunMap) {
    auto c = Make("QEL2200", {1, 0});
    // FixMode 1; run time on, 2 h + 1800 s, deviations 2.0 and 5; set points -40.0 and 85; run.
    Send(*c, {"0600630001", "10006800050A0001000207080014" "0005", "060513FE70", "0605140055", "0605160001"});
    c->step(Start.addSecs(600));
    Check(*c, {{0x0043, 2, "Status: fixed run"},
               {0x0003, 0xFE70, "SP ch1 -40.0, one decimal"},
               {0x0004, 85, "SP ch2 85, no decimals"},
               {0x0008, 0xFE70, "TSP ch1"},
               {0x0009, 85, "TSP ch2"},
               {0x0017, 0, "RunTime hours"},
               {0x0018, 10, "RunTime minutes"},
               {0x0019, 0, "RunTime seconds"},
               {0x0063, 1, "FixMode"},
               {0x0068, 1, "EndShown"},
               {0x0069, 2, "FixTime hours"},
               {0x006A, 1800, "FixTime remainder in seconds"},
               {0x006B, 20, "TempDev 2.0"},
               {0x006C, 5, "HumiDev 5"},
               {0x0516, 0, "key register after the pulse"}});
    const auto pv1 = static_cast<int16_t>(Reg(*c, 0x0000)), pv2 = static_cast<int16_t>(Reg(*c, 0x0002));
    EXPECT_TRUE(pv1 >= -405 && pv1 <= -395) << "PV ch1 close to -40.0 after ten minutes: " << pv1;
    EXPECT_TRUE(pv2 >= 84 && pv2 <= 86) << "PV ch2 close to 85: " << pv2;
    EXPECT_TRUE(Reg(*c, 0x0005) > 0 && Reg(*c, 0x0006) > 0) << "MV of both channels while running";
    EXPECT_EQ(EndDate2200(*c), (std::vector<uint16_t>{2024, 1, 31, 10, 45})) << "08:15:07 + 2 h 30 min";

    // Keys, their status values and what each leaves in the end date.
    const struct { const char* key; uint16_t status; std::vector<uint16_t> end; } rows[] = {
        {"0605160002", 6, {2024, 1, 31, 10, 45}},  // hold: fixed run and hold bit 4
        {"0605160009", 6, {2024, 1, 31, 10, 45}},  // unknown key value: ignored
        {"0605160002", 2, {2024, 1, 31, 10, 45}},  // hold again releases
        {"0605160004", 0, {1970, 1, 1, 0, 0}},     // stop: the unset date
    };
    for (const auto& row : rows) {
        Send(*c, QByteArray(row.key));
        EXPECT_EQ(Reg(*c, 0x0043), row.status) << row.key;
        EXPECT_EQ(EndDate2200(*c), row.end) << row.key;
        EXPECT_EQ(Reg(*c, 0x0516), 0) << row.key;
    }
    EXPECT_EQ(Read(*c, 0x0005, 2), (std::vector<uint16_t>{0, 0})) << "both channels stop together";
    EXPECT_EQ(Read(*c, 0x0003, 2), (std::vector<uint16_t>{0xFE70, 85})) << "the fixed set points stay";

    Send(*c, {"0605160005"});
    EXPECT_EQ(Reg(*c, 0x0048), 1) << "UserKeyState toggled on by key 5";
    Send(*c, {"0605160005"});
    EXPECT_EQ(Reg(*c, 0x0048), 0);
}

// Guards a stored QEL2200 pattern running as stored: both set points per segment, the
// durations as stored (hours x 3600 + remainder), the pattern's repeat count, the end
// date; and that a load during the run leaves the live registers of the poll block alone.
TEST(Model2200And2300, Qel2200StoredPatternRuns) {
    auto c = Make("QEL2200", {1, 0});
    SavePattern3(*c);
    Send(*c, {"0605150003", "0600630000", "0605160001"});  // pattern 3 to run, program kind, run
    // A pass is 1 h 30 min + 2 h; two passes from 08:15:07 end at 15:15:07.
    Check(*c, {{0x0043, 1, "Status: program run"},
               {0x0012, 3, "PTNo"},
               {0x0013, 1, "SegNo"},
               {0x0033, 1, "PTRpt"},
               {0x0034, 2, "PTRptSet: the pattern's repeat count"},
               {0x0008, 500, "TSP ch1 50.0"},
               {0x0009, 80, "TSP ch2 80"},
               {0x0037, 1, "SegTimeSet hours"},
               {0x0038, 1800, "SegTimeSet remainder"}});
    EXPECT_EQ(EndDate2200(*c), (std::vector<uint16_t>{2024, 1, 31, 15, 15}));
    Send(*c, {"0605150007"});
    EXPECT_EQ(Reg(*c, 0x0012), 3) << "the pattern number is not taken over while running";

    c->step(Start.addSecs(5400 + 60));
    Check(*c, {{0x0013, 2, "SegNo"},
               {0x0008, 0xFF9C, "TSP ch1 -10.0"},
               {0x0009, 60, "TSP ch2 60"},
               {0x0003, 495, "SP ch1 one minute into the ramp 50.0 -> -10.0 over 2 h"},
               {0x0004, 80, "SP ch2 79.8, no decimals"},
               {0x001A, 0, "SegTime hours"},
               {0x001B, 60, "SegTime remainder"},
               {0x0037, 2, "SegTimeSet hours"},
               {0x0038, 0, "SegTimeSet remainder"},
               {0x0017, 1, "RunTime hours"},
               {0x0018, 31, "RunTime minutes"},
               {0x0019, 0, "RunTime seconds"}});

    // A pattern load fills the header and tail windows inside the live block; the
    // live registers around them keep being the run's, and the windows keep the load.
    Send(*c, {"10051900070E0003000000010001000100010002"});
    c->step(Start.addSecs(5400 + 120));
    EXPECT_EQ(Read(*c, 0x0017, 5), (std::vector<uint16_t>{1, 32, 0, 0, 120})) << "RunTime, SegTime";
    EXPECT_EQ(Read(*c, 0x001D, 5), (std::vector<uint16_t>{2, 0, 0x00FA, 0x0032, 2})) << "header, repeat";

    c->step(Start.addSecs(12600 + 60));
    Check(*c, {{0x0033, 2, "PTRpt: second pass"}, {0x0013, 1, "SegNo"}, {0x0008, 500, "TSP ch1"}});
    Send(*c, {"0605160003"});
    EXPECT_EQ(Reg(*c, 0x0013), 2) << "step key";
    EXPECT_EQ(EndDate2200(*c), (std::vector<uint16_t>{2024, 1, 31, 13, 46})) << "stepped at 11:46:07, 2 h left";
    c->step(Start.addSecs(25200));
    EXPECT_EQ(Reg(*c, 0x0043), 0) << "ended by itself after the second pass";
}

// Guards a frozen QEL2200: keys and writes stored as written, nothing run.
TEST(Model2200And2300, Qel2200FrozenStoresKeys) {
    auto c = Make("QEL2200", {1, 0});
    c->setFrozen(true);
    Send(*c, {"0605160001"});
    c->step(Start.addSecs(60));
    EXPECT_EQ(Reg(*c, 0x0516), 1);
    EXPECT_EQ(Reg(*c, 0x0043), 0);
}

// Guards a QEL2300 run of a stored program: rooms Hi, Ex (only with defrost type 2 or
// more), Lo, each for its time, `Side` following the room, repeats and end date.
TEST(Model2200And2300, Qel2300RoomProgramRuns) {
    const struct { int defrostType; int exSeconds; std::vector<uint16_t> end; } rows[] = {
        {0, 0, {2024, 1, 31, 11, 15}},    // (1 h + 30 min) x 2 from 08:15:07
        {2, 900, {2024, 1, 31, 11, 45}},  // (1 h + 15 min + 30 min) x 2
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "defrost type " << row.defrostType);
        auto c = Make("QEL2300", {1, 0, 2});
        SaveRoomProgram4(*c, row.defrostType);
        Send(*c, {"0600310004", "0600320001"});  // pattern 4 to run; run
        Check(*c, {{0x0005, 1, "Status: running"},
                   {0x001A, 4, "PTNo"},
                   {0x00B5, 0, "Side: Hi room"},
                   {0x0009, 0x05DC, "SP Hi 150.0"},
                   {0x000B, 0xF060, "SP Lo -40.00, two decimals"},
                   {0x008C, 1, "PTRpt"},
                   {0x008D, 2, "PTRptSet"},
                   {0x0090, 1, "SegTimeSet hours"},
                   {0x0091, 0, "SegTimeSet remainder"},
                   {0x0032, 0, "key register after the pulse"}});
        EXPECT_EQ(EndDate2300(*c), row.end);
        if (row.exSeconds == 0) {
            EXPECT_EQ(Reg(*c, 0x000D), 0) << "MV of an Ex room left out";
        }

        c->step(Start.addSecs(3600 + 60));
        Check(*c, {{0x00B5, static_cast<uint16_t>(row.exSeconds ? 1 : 2), "Side after the Hi room"},
                   {0x001C, 0, "SegTime hours"},
                   {0x001D, 60, "SegTime remainder"},
                   {0x0090, 0, "SegTimeSet hours"},
                   {0x0091, static_cast<uint16_t>(row.exSeconds ? 900 : 1800), "SegTimeSet remainder"},
                   {0x0017, 1, "RunTime hours"},
                   {0x0018, 1, "RunTime minutes"}});
        const int pass = 3600 + row.exSeconds + 1800;
        c->step(Start.addSecs(pass + 60));
        Check(*c, {{0x008C, 2, "PTRpt: second pass"}, {0x00B5, 0, "Side: Hi room again"}});
        c->step(Start.addSecs(2 * pass));
        EXPECT_EQ(Reg(*c, 0x0005) & 0xFF, 0) << "ended by itself after the second pass";
        EXPECT_EQ(EndDate2300(*c), (std::vector<uint16_t>{1970, 1, 1, 0, 0}));
    }
}

// Guards the QEL2300 keys (hold stands the room time, step moves to the next room, user
// key, stop) and the plain registers the station reads or writes.
TEST(Model2200And2300, Qel2300KeysAndPlainRegisters) {
    auto c = Make("QEL2300", {1, 0, 2});
    Check(*c, {{0x02ED, 1, "RoomConfig"}, {0x0005, 0, "Status: standing"}});
    Send(*c, {"1000B5000306000200010001", "0600B90001"});  // Side, SideAltA, SideAltB; SideMark
    Check(*c, {{0x00B5, 2, "Side as set"}, {0x00B6, 1, "SideAltA"}, {0x00B7, 1, "SideAltB"}, {0x00B9, 1, "SideMark"}});
    Send(*c, {"100897000912000100000001001E0000FFEC003C00000078"});  // wait operation block
    EXPECT_EQ(Read(*c, 0x0897, 9), (std::vector<uint16_t>{1, 0, 1, 30, 0, 0xFFEC, 60, 0, 120}));

    SaveRoomProgram4(*c, 0);
    Send(*c, {"0600310004", "0600320001"});
    c->step(Start.addSecs(600));
    Send(*c, {"0600320002"});
    EXPECT_EQ(Reg(*c, 0x0005) & 0xFF, 5) << "held";
    c->step(Start.addSecs(1200));
    EXPECT_EQ(Read(*c, 0x001C, 2), (std::vector<uint16_t>{0, 600})) << "the room time stands in hold";
    EXPECT_EQ(EndDate2300(*c), (std::vector<uint16_t>{2024, 1, 31, 11, 25})) << "the end moves by the hold";
    Send(*c, {"0600320001"});
    EXPECT_EQ(Reg(*c, 0x0005) & 0xFF, 1) << "run releases the hold";
    Send(*c, {"0600320003"});
    EXPECT_EQ(Reg(*c, 0x00B5), 2) << "step: on to the Lo room";
    Send(*c, {"0600310007", "0600320009"});
    EXPECT_EQ(Reg(*c, 0x001A), 4) << "the pattern number is not taken over while running";
    EXPECT_EQ(Reg(*c, 0x0005) & 0xFF, 1) << "an unknown key value is ignored";
    Send(*c, {"0600320005"});
    EXPECT_EQ(Reg(*c, 0x00A2), 1) << "UserKeyState";
    Send(*c, {"0600320004"});
    Check(*c, {{0x0005, 0, "Status: stopped"}, {0x00B5, 2, "Side keeps the last room"}, {0x0032, 0, "key"}});
    EXPECT_EQ(Read(*c, 0x000C, 3), (std::vector<uint16_t>{0, 0, 0})) << "no room output";
}
