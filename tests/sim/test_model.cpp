// The controller models through Modbus pdus, time passed in: limits, keys,
// and stored programs running as stored. Register numbers and request bodies
// are written out from the controllers' maps and from what the station sends.
// The maps the poll reads are checked through qelpoll (tests/integration).
#include <gtest/gtest.h>

#include "model.h"
#include "sim_test_util.h"

using namespace qelsim;
using simtest::H;
using simtest::Send;

namespace {

std::unique_ptr<Chamber> Make(const char* model, std::vector<int> decimals = {}) {
    auto chamber = MakeChamber({1, model, std::move(decimals), false});
    chamber->step(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
    return chamber;
}

std::vector<uint16_t> Read(const Chamber& c, int reg, int count) {
    std::vector<uint16_t> v;
    for (int i = 0; i < count; ++i) v.push_back(c.reg(reg + i));
    return v;
}

void Write(Chamber& c, int reg, int value) {
    const QByteArray req = H(QString::asprintf("06%04X%04X", reg, value & 0xFFFF).toLatin1());
    EXPECT_EQ(c.handlePdu(req), req) << "a write is echoed";
}

}  // namespace

// Guards the limits of each function: counts, the map's end, refused and malformed requests.
TEST(Model, RepliesByFunctionAndCount) {
    // The reply starts with head and has size bytes; none at all for an empty head.
    const struct { const char *request, *head; int size; } rows[] = {
        {"0300C80082", "0304", 262},  // 130, the most the controller reads: byte count (2 * count) & 0xFF
        {"03FFFF0001", "0302", 4},   {"03FFFF0002", "8302", 2},  // the map's last register, and past it
        {"0300000083", "8303", 2},   {"0400000001", "8401", 2},  // count 131; a function not served
        {"100070000306000700080009", "1000700003", 5},
        {"10007000020200AA", "9003", 2},  // two registers, two data bytes: refused
        {"060065000100", "", 0},          // malformed: ignored
    };
    auto c = Make("QEL2000");
    for (const auto& row : rows) {
        const QByteArray reply = c->handlePdu(H(row.request));
        EXPECT_EQ(reply.left(qstrlen(row.head) / 2), H(row.head)) << row.request;
        EXPECT_EQ(reply.size(), row.size) << row.request;
    }
    EXPECT_EQ(Read(*c, 0x0070, 3), (std::vector<uint16_t>{7, 8, 9})) << "the refused write changed nothing";
}

// Guards the status values the station switches on, and each channel's registers.
TEST(Model, KeysSetTheStatusOfTheirChannelOnly) {
    // Per channel, what is written in turn: f FixMode 1, w WaitUse 1, a digit that key (1 run,
    // 2 hold, 3 step, 4 stop); then the seconds that pass, and the status low byte (1 program
    // run, 2 fixed run, 5 on hold, 65 waiting at a segment's end) and segment.
    const struct { int channel; const char* writes; int seconds, status, segment; } rows[] = {
        {1, "1", 0, 1, 1},      {1, "12", 0, 5, 1},  {1, "134", 0, 0, 0},  {2, "f1", 0, 2, 0},
        {1, "w1", 600, 65, 1},  // PV lags the ramp by more than the band at the segment's end
        {1, "1", 600, 1, 2},    // without waiting the program goes on
    };
    const int status[] = {0x0004, 0x0006}, segment[] = {0x0024, 0x0026}, key[] = {0x0065, 0x0066},
              fixMode[] = {0x006E, 0x0075}, waitUse[] = {0x0121, 0x0122};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "channel " << row.channel << ": " << row.writes << ", " << row.seconds);
        auto c = Make("QEL2100");
        const int ch = row.channel - 1, other = 1 - ch;
        for (const char* w = row.writes; *w; ++w)
            Write(*c, *w == 'f' ? fixMode[ch] : *w == 'w' ? waitUse[ch] : key[ch], isdigit(*w) ? *w - '0' : 1);
        c->step(c->now().addSecs(row.seconds));
        auto state = [&](int i) {
            return std::vector<int>{c->reg(status[i]) & 0xFF, c->reg(segment[i]), c->reg(key[i])};
        };
        EXPECT_EQ(state(ch), (std::vector<int>{row.status, row.segment, 0})) << "a key is a pulse, not kept";
        EXPECT_EQ(state(other), (std::vector<int>{0, 0, 0}));
    }
}

// Guards a stored pattern running as stored: segments (hours x 3600 + remainder), repeats and the end date.
TEST(Model, StoredPatternRunsItsSegmentsAndRepeats) {
    auto c = Make("QEL2000");
    // Channel index 0, pattern 7: segment 1 to 50.0 in 1 h, segment 2 to 30.0 in 1 h 30 min,
    // pattern level: repeat 2. Command 3 stores the window into the selected item.
    for (const char* w : {"06044B0000", "06044C0007", "06044D0001", "10046400030601F400010000", "0604520003",
                          "06044D0002", "100464000306012C00010708", "0604520003", "06044D0000", "06047D0002",
                          "0604520003"}) {
        const QByteArray req = H(w);
        EXPECT_FALSE(c->handlePdu(req).isEmpty()) << w;
    }
    Write(*c, 0x0063, 7);  // the pattern to run
    Write(*c, 0x0065, 1);  // run
    // Started 2024-01-31 08:15:07: two passes of 2 h 30 min end at 13:15.
    EXPECT_EQ(Read(*c, 0x039C, 5), (std::vector<uint16_t>{2024, 1, 31, 13, 15}));
    const auto at = [&] { return std::vector<int>{c->reg(0x0004) & 0xFF, c->reg(0x0024), c->reg(0x0027), c->reg(0x0028)}; };
    EXPECT_EQ(at(), (std::vector<int>{1, 1, 1, 2})) << "program run, segment 1, pass 1 of 2";
    EXPECT_EQ(Read(*c, 0x0031, 2), (std::vector<uint16_t>{1, 0})) << "segment time set: 1 h";
    c->step(c->now().addSecs(3600 + 60));
    EXPECT_EQ(at(), (std::vector<int>{1, 2, 1, 2}));
    EXPECT_EQ(Read(*c, 0x0031, 2), (std::vector<uint16_t>{1, 1800}));
    c->step(c->now().addSecs(5400));
    EXPECT_EQ(at(), (std::vector<int>{1, 1, 2, 2})) << "second pass";
    c->step(c->now().addSecs(9000));
    EXPECT_EQ(c->reg(0x0004) & 0xFF, 0) << "ended by itself after the second pass";
}

// Guards a QEL2300 room program: Hi, Ex (defrost type 2 or more only), Lo, `Side`, the repeats and the end date.
TEST(Model, Qel2300RoomProgramRuns) {
    const struct { int defrostType, exSeconds; std::vector<uint16_t> end; } rows[] = {
        {0, 0, {2024, 1, 31, 11, 15}},    // (1 h + 30 min) x 2 from 08:15:07
        {2, 900, {2024, 1, 31, 11, 45}},  // (1 h + 15 min + 30 min) x 2
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.defrostType);
        auto c = Make("QEL2300", {1, 0, 2});
        // Pattern 4, repeat 2: Hi 150.0 for 1 h, Ex 25 for 15 min, Lo -40.00 for 30 min.
        Send(*c, {"100900000306000400040005", "0608FC0004",
                  QByteArray("10091800050A00020000000") + char('0' + row.defrostType) + "00010001",
                  "10091D000306000000000000", "10092000030605DC0019F060", "10092300020400010000",
                  "10092500020400000384", "10092700020400000708", "0609020003"});
        Send(*c, {"0600310004", "0600320001"});  // pattern 4 to run; run
        EXPECT_EQ((std::vector<int>{c->reg(0x0005) & 0xFF, c->reg(0x00B5), c->reg(0x0009), c->reg(0x008D)}),
                  (std::vector<int>{1, 0, 1500, 2})) << "running in the Hi room at 150.0, two passes";
        EXPECT_EQ(Read(*c, 0x0097, 5), row.end);
        c->step(c->now().addSecs(3600 + 60));
        EXPECT_EQ(c->reg(0x00B5), row.exSeconds ? 1 : 2) << "the room after Hi";
        const int pass = 3600 + row.exSeconds + 1800;
        c->step(c->now().addSecs(pass - 3600));
        EXPECT_EQ((std::vector<int>{c->reg(0x008C), c->reg(0x00B5)}), (std::vector<int>{2, 0})) << "second pass, Hi";
        c->step(c->now().addSecs(pass));
        EXPECT_EQ(c->reg(0x0005) & 0xFF, 0) << "ended by itself";
    }
}
