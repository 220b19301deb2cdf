// The QEL2400 model through Modbus pdus only, time passed in. Register
// numbers, block reads and request bodies are written out from the
// controller's map and from what the station sends, not taken from the model.
#include <gtest/gtest.h>

#include <map>

#include "model.h"
#include "options.h"
#include "sim_test_util.h"

using namespace qelsim;

using simtest::Send;

namespace {

const QDateTime Start(QDate(2024, 1, 31), QTime(8, 15, 7));

// Channel 1 with one decimal, channel 2 with none, channel 3 with two.
std::unique_ptr<Chamber> Make() {
    auto chamber = MakeChamber({1, "QEL2400", {1, 0, 2}, false});
    chamber->step(Start);
    return chamber;
}

// A block read; head is the function code and byte count the station expects.
std::vector<uint16_t> Read(Chamber& c, int reg, int count, uint8_t byteCount) {
    const QByteArray reply = c.handlePdu(QByteArray::fromHex(QString::asprintf("03%04X%04X", reg, count).toLatin1()));
    std::vector<uint16_t> words;
    if (reply.size() != 2 + 2 * count || reply[0] != '\x03' || static_cast<uint8_t>(reply[1]) != byteCount) {
        ADD_FAILURE() << "read of " << reg << " answered " << reply.toHex().constData();
        return std::vector<uint16_t>(count, 0xDEAD);
    }
    for (int i = 0; i < count; ++i)
        words.push_back(static_cast<uint16_t>((static_cast<uint8_t>(reply[2 + 2 * i]) << 8) |
                                              static_cast<uint8_t>(reply[3 + 2 * i])));
    return words;
}

// One poll cycle as the station makes it: 0x0002 x 115, 0x0087 x 15, 0x00C8 x 130
// (whose byte count 260 goes out as 0x04); register -> value.
std::map<int, uint16_t> Poll(Chamber& c) {
    std::map<int, uint16_t> map;
    const struct { int first, count; uint8_t byteCount; } blocks[] = {
        {0x0002, 0x73, 0xE6}, {0x0087, 0x0F, 0x1E}, {0x00C8, 0x82, 0x04}};
    for (const auto& b : blocks) {
        const std::vector<uint16_t> w = Read(c, b.first, b.count, b.byteCount);
        for (int i = 0; i < b.count; ++i) map[b.first + i] = w[i];
    }
    return map;
}

struct Expect {
    int reg;
    uint16_t value;
    const char* meaning;
};
void Check(const std::map<int, uint16_t>& poll, std::initializer_list<Expect> rows) {
    for (const Expect& e : rows) {
        const auto at = poll.find(e.reg);
        ASSERT_NE(at, poll.end()) << e.meaning << ": not polled";
        EXPECT_EQ(at->second, e.value) << e.meaning << " (0x" << std::hex << e.reg << ")";
    }
}

std::vector<uint16_t> Words(const std::map<int, uint16_t>& poll, int first, int count) {
    std::vector<uint16_t> w;
    for (int r = first; r < first + count; ++r) w.push_back(poll.at(r));
    return w;
}
std::vector<uint16_t> EndDate(const std::map<int, uint16_t>& poll, int channel) {
    return Words(poll, 0x0087 + 5 * (channel - 1), 5);
}
const std::vector<uint16_t> Unset = {1970, 1, 1, 0, 0};

// Pattern 5 of channel index 1 (no decimals) as the station's save writes it: start SP 50,
// segment 1 to 80 with hours register 1, segment 2 to 50 with hours 1 and remainder 1800,
// tail: repeat 2, ChannelRepeat 1 in the place of index 1.
void SavePattern5Channel2(Chamber& c) {
    Send(c, {"06018F0001", "100194000306000500050005", "10018F000306000100050000", "0601990000", "06019B0032",
             "0601960003",
             "0601910001", "10019D000F1E" "005000010000" "000000000000000000000000000000000000000000000000",
             "0601B10001", "0601960003",
             "0601910002", "10019D000F1E" "003200010708" "000000000000000000000000000000000000000000000000",
             "0601B10001", "0601960003",
             "10018F000306000100050000", "1001B700050A" "00020000000000010000",
             "1001BC000C18" "000000000000000000000000000000000000000000000000", "0601960003"});
}

// Pattern 4 of channel index 2 (two decimals): StartType 1, start SP 25.00; segment 1
// to -40.00 for 1 h 30 min (hours register 2, remainder 1800), signals 1..8, aux
// 0x11..0x14, in use (2 h 30 min as it runs); segment 2 to 30.00 for 0 s (hours 1, remainder 0), nothing set;
// tail: repeat 3, EndMode 1, ChannelRepeat 2 in the last place, loop row 1, 2, 3.
void SavePattern4Channel3(Chamber& c) {
    Send(c, {"06018F0002", "100194000306000400040005", "10018F000306000200040000", "0601990001", "06019C09C4",
             "0601960003",
             "0601910001", "10019D000F1E" "F06000020708" "00010002000300040005000600070008" "0011001200130014",
             "0601B10001", "0601960003",
             "0601910002", "10019D000F1E" "0BB800010000" "000000000000000000000000000000000000000000000000",
             "0601B10000", "0601960003",
             "10018F000306000200040000", "1001B700050A" "00030001000000000002",
             "1001BC000C18" "000100020003000000000000000000000000000000000000", "0601960003"});
}

// Pattern 4 of channel index 0 (one decimal): start SP 20.0; one segment to 50.0 for
// 30 min (hours 1, remainder 1800), in use; tail: repeat 5, ChannelRepeat 1 in place 0.
void SavePattern4Channel1(Chamber& c) {
    Send(c, {"06018F0000", "100194000306000400040005", "10018F000306000000040000", "0601990000", "06019A00C8",
             "0601960003",
             "0601910001", "10019D000F1E" "01F400010708" "000000000000000000000000000000000000000000000000",
             "0601B10001", "0601960003",
             "10018F000306000000040000", "1001B700050A" "00050000000100000000",
             "1001BC000C18" "000000000000000000000000000000000000000000000000", "0601960003"});
}

}  // namespace

// Guards the poll map with three channels in three states at once (fixed run, program
// run, stopped): each value at its register, scaled by its own channel's DP, whole-register
// status, form B times, an end date per channel; the key registers read 0.
TEST(Model2400, ThreeIndependentChannelsInThePollBlocks) {
    auto c = Make();
    SavePattern5Channel2(*c);
    // Channel 1: fixed kind; run time on, 2 h + 1800 s, deviation 2.0; SP -40.0; run.
    Send(*c, {"06012B0001", "10012C0004080001001400020708", "06006AFE70", "0600640001"});
    // Channel 2: pattern 5; run. Channel 3: SP 30.00 and pattern 9, stays stopped.
    Send(*c, {"06006E0005", "0600650001", "06006C0BB8", "06006F0009"});
    c->step(Start.addSecs(600));
    const std::map<int, uint16_t> p = Poll(*c);
    Check(p, {{0x0027, 2, "Status ch1: fixed run"},
              {0x0028, 1, "Status ch2: program run"},
              {0x0029, 0, "Status ch3: stopped"},
              {0x000C, 0xFE70, "SP ch1 -40.0"},
              {0x000F, 0xFE70, "TSP ch1"},
              {0x0010, 80, "TSP ch2: segment 1's 80, no decimals"},
              {0x000E, 0x0BB8, "SP ch3 30.00"},
              {0x0011, 0x0BB8, "TSP ch3"},
              {0x0014, 0, "MV ch3 stopped"},
              {0x0064, 0, "key ch1"},
              {0x0065, 0, "key ch2"},
              {0x0066, 0, "key ch3"},
              {0x012B, 1, "FixMode ch1"},
              {0x0135, 0, "FixMode ch2"},
              {0x012C, 1, "EndShown ch1"},
              {0x012D, 20, "TempDev ch1 2.0"},
              {0x012E, 2, "FixTime ch1 hours"},
              {0x012F, 1800, "FixTime ch1 remainder"},
              {0x00C8, 1, "PTNo ch1"},
              {0x00C9, 5, "PTNo ch2"},
              {0x00CA, 9, "PTNo ch3: taken over while standing"},
              {0x00CB, 0, "SegNo ch1: fixed run"},
              {0x00CC, 1, "SegNo ch2"},
              {0x00CD, 0, "SegNo ch3"},
              {0x00D1, 0, "PTRpt ch1"},
              {0x00D2, 1, "PTRpt ch2"},
              {0x00D5, 2, "PTRptSet ch2: the pattern's repeat"},
              {0x0149, 0, "LinkedRun"}});
    EXPECT_EQ(Words(p, 0x00EF, 9), (std::vector<uint16_t>{0, 10, 0, 0, 10, 0, 0, 0, 0})) << "RunTime h, m, s x 3";
    EXPECT_EQ(Words(p, 0x00E0, 3), (std::vector<uint16_t>{0, 10, 0})) << "SegTime ch2";
    EXPECT_EQ(Words(p, 0x00E9, 3), (std::vector<uint16_t>{1, 0, 0})) << "SegTimeSet ch2: 1 h";
    EXPECT_EQ(EndDate(p, 1), (std::vector<uint16_t>{2024, 1, 31, 10, 45})) << "08:15:07 + 2 h 30 min";
    EXPECT_EQ(EndDate(p, 2), (std::vector<uint16_t>{2024, 1, 31, 13, 15})) << "two passes of 2 h 30 min";
    EXPECT_EQ(EndDate(p, 3), Unset);
    const auto pv = [&](int reg) { return static_cast<int16_t>(p.at(reg)); };
    EXPECT_TRUE(pv(0x0009) >= -405 && pv(0x0009) <= -395) << "PV ch1 close to -40.0: " << pv(0x0009);
    EXPECT_TRUE(pv(0x000B) >= 2250 && pv(0x000B) <= 2350) << "PV ch3 near ambient, two decimals: " << pv(0x000B);
    EXPECT_TRUE(p.at(0x0012) > 0 && p.at(0x0013) > 0) << "MV of the running channels";

    // The LinkedRun switch is a plain register.
    Send(*c, {"0601490001"});
    EXPECT_EQ(Poll(*c).at(0x0149), 1);
}

// Guards keys acting on their own channel only: hold stands the segment time and moves
// that channel's end date, step, stop, release, user key, an unknown key; and the wait bit.
TEST(Model2400, KeysActOnTheirChannelOnly) {
    auto c = Make();
    SavePattern5Channel2(*c);
    SavePattern4Channel3(*c);
    // Channel 1 a fixed run, channels 2 and 3 their patterns 5 and 4.
    Send(*c, {"06012B0001", "0600640001", "06006E0005", "0600650001", "06006F0004", "0600660001"});
    c->step(Start.addSecs(300));
    const auto status = [&](const std::map<int, uint16_t>& p) { return Words(p, 0x0027, 3); };
    std::map<int, uint16_t> p = Poll(*c);
    EXPECT_EQ(status(p), (std::vector<uint16_t>{2, 1, 1}));
    const std::vector<uint16_t> end3 = EndDate(p, 3);

    Send(*c, {"0600650002"});  // hold channel 2
    c->step(Start.addSecs(900));
    p = Poll(*c);
    EXPECT_EQ(status(p), (std::vector<uint16_t>{2, 5, 1})) << "only channel 2 held";
    EXPECT_EQ(Words(p, 0x00E0, 3), (std::vector<uint16_t>{0, 5, 0})) << "its segment time stands";
    EXPECT_EQ(EndDate(p, 2), (std::vector<uint16_t>{2024, 1, 31, 13, 25})) << "its end moves by the hold";
    EXPECT_EQ(EndDate(p, 3), end3) << "channel 3's end stays";

    // Each row: a key, then the three statuses and SegNo of channels 2 and 3.
    const struct { const char* key; std::vector<uint16_t> status; uint16_t seg2, seg3; } rows[] = {
        {"0600660003", {2, 5, 1}, 1, 2},  // step channel 3
        {"0600640004", {0, 5, 1}, 1, 2},  // stop channel 1
        {"0600650009", {0, 5, 1}, 1, 2},  // unknown key value: ignored
        {"0600650001", {0, 1, 1}, 1, 2},  // run releases channel 2's hold
        {"0600660004", {0, 1, 0}, 1, 0},  // stop channel 3
    };
    for (const auto& row : rows) {
        Send(*c, QByteArray(row.key));
        p = Poll(*c);
        EXPECT_EQ(status(p), row.status) << row.key;
        EXPECT_EQ(Words(p, 0x00CC, 2), (std::vector<uint16_t>{row.seg2, row.seg3})) << row.key;
        EXPECT_EQ(Words(p, 0x0064, 3), (std::vector<uint16_t>{0, 0, 0})) << row.key << ": keys are pulses";
    }
    EXPECT_EQ(EndDate(p, 1), Unset);
    EXPECT_EQ(EndDate(p, 3), Unset);
    EXPECT_NE(EndDate(p, 2), Unset);

    Send(*c, {"0600650005"});
    EXPECT_EQ(Words(Poll(*c), 0x002A, 3), (std::vector<uint16_t>{0, 1, 0})) << "UserKeyState of channel 2 only";
    Send(*c, {"0600650005"});
    EXPECT_EQ(Words(Poll(*c), 0x002A, 3), (std::vector<uint16_t>{0, 0, 0})) << "toggled back";

    // Wait operation: channel 3 waits at a segment's end until within 0.05. It runs
    // again and, its PV lagging the 2 h 30 min ramp at the segment's end, waits.
    Send(*c, {"100225000C18" "0000000A00000000" "0000000000000000" "0001000500000000", "0600660001"});
    c->step(Start.addSecs(900 + 9000));
    EXPECT_EQ(Poll(*c).at(0x0029), 65) << "program run and wait bit 64";
}

// Guards a run of a stored pattern on channel 3: its segments (hours x 3600 + remainder),
// its own repeat count, the end date; channel 1 running its own pattern 4; the rest standing.
TEST(Model2400, StoredPatternRuns) {
    auto c = Make();
    SavePattern4Channel3(*c);
    SavePattern4Channel1(*c);
    Send(*c, {"06006F0004", "0600660001"});
    std::map<int, uint16_t> p = Poll(*c);
    // A pass is 2 h 30 min + 1 h; three passes from 08:15:07 end at 18:45:07.
    Check(p, {{0x0029, 1, "Status ch3: program run"},
              {0x00CA, 4, "PTNo"},
              {0x00CD, 1, "SegNo"},
              {0x00D3, 1, "PTRpt"},
              {0x00D6, 3, "PTRptSet: the pattern's repeat"},
              {0x0011, 0xF060, "TSP -40.00"},
              {0x0027, 0, "Status ch1"},
              {0x0028, 0, "Status ch2"}});
    EXPECT_EQ(Words(p, 0x00EC, 3), (std::vector<uint16_t>{2, 30, 0})) << "SegTimeSet: hours 2 x 3600 + 1800";
    EXPECT_EQ(EndDate(p, 3), (std::vector<uint16_t>{2024, 1, 31, 18, 45}));
    EXPECT_EQ(EndDate(p, 1), Unset);
    Send(*c, {"06006F0007"});
    EXPECT_EQ(Poll(*c).at(0x00CA), 4) << "the pattern number is not taken over while running";

    c->step(Start.addSecs(9000 + 60));
    p = Poll(*c);
    Check(p, {{0x00CD, 2, "SegNo"}, {0x0011, 0x0BB8, "TSP 30.00"}});
    EXPECT_EQ(Words(p, 0x00E3, 3), (std::vector<uint16_t>{0, 1, 0})) << "SegTime";
    EXPECT_EQ(Words(p, 0x00EC, 3), (std::vector<uint16_t>{1, 0, 0})) << "SegTimeSet: 1 h";
    EXPECT_EQ(Words(p, 0x00F5, 3), (std::vector<uint16_t>{2, 31, 0})) << "RunTime";

    c->step(Start.addSecs(12600 + 60));
    p = Poll(*c);
    Check(p, {{0x00D3, 2, "PTRpt: second pass"}, {0x00CD, 1, "SegNo"}, {0x0011, 0xF060, "TSP"}});

    Send(*c, {"06006D0004", "0600640001"});
    Check(Poll(*c), {{0x0027, 1, "Status ch1"}, {0x000F, 0x01F4, "TSP ch1: its own pattern 4, 50.0"},
                     {0x00D4, 5, "PTRptSet ch1"}});

    c->step(Start.addSecs(37800));
    p = Poll(*c);
    EXPECT_EQ(p.at(0x0029), 0) << "ended by itself after the third pass";
    EXPECT_EQ(EndDate(p, 3), Unset);
}
