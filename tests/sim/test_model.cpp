// The QEL2000/QEL2100 register model, driven through Modbus pdus with the
// time passed in. Register numbers are those of the controllers' map,
// written out here rather than taken from the model.
#include <gtest/gtest.h>

#include <QDateTime>

#include "model.h"
#include "sim_test_util.h"

using namespace qelsim;
using simtest::H;

namespace {

const QDateTime T0(QDate(2024, 1, 31), QTime(8, 15, 7));
const std::vector<uint16_t> Unset{1970, 1, 1, 0, 0};

std::unique_ptr<Chamber> Make(const char* model, bool noise = false) {
    auto chamber = MakeChamber({1, model, {}, noise});
    chamber->step(T0);
    return chamber;
}

// The map as a read would give it; reads by function 03 are checked below.
std::vector<uint16_t> Read(const Chamber& c, int reg, int count) {
    std::vector<uint16_t> v;
    for (int i = 0; i < count; ++i) v.push_back(c.reg(reg + i));
    return v;
}

void Write(Chamber& c, int reg, int value) {
    const QByteArray req = H(QString::asprintf("06%04X%04X", reg, value & 0xFFFF).toLatin1());
    EXPECT_EQ(c.handlePdu(req), req) << "a write is echoed";
}

void After(Chamber& c, int seconds) { c.step(c.now().addSecs(seconds)); }

}  // namespace

TEST(Model, RepliesByFunctionAndCount) {
    // The reply starts with head and has size bytes; none at all for an empty head.
    const struct { const char *request, *head; int size; } rows[] = {
        {"0300020001", "0302", 4},
        {"0300020078", "03F0", 242},  // the station's poll block, 120 registers
        {"0300000080", "0300", 258},  // byte count is (2 * count) & 0xFF; all the data follows
        {"0300C80082", "0304", 262},  // 130, the most the controller reads
        {"03FFFF0001", "0302", 4},    // the map's last register
        {"0300000000", "8303", 2},    // count 0
        {"0300000083", "8303", 2},    // count 131
        {"03FFFF0002", "8302", 2},    // past the map's end
        {"0400000001", "8401", 2},    // functions not served
        {"2B0E0100", "AB01", 2},
        {"0600700005", "0600700005", 5},
        {"100070000306000700080009", "1000700003", 5},
        {"10007000020200AA", "9003", 2},  // two registers, two data bytes: refused
        {"03000200", "", 0},              // malformed requests are ignored
        {"060065000100", "", 0},
        {"10007000010200", "", 0},
    };
    auto c = Make("QEL2000");
    for (const auto& row : rows) {
        const QByteArray reply = c->handlePdu(H(row.request));
        EXPECT_EQ(reply.left(qstrlen(row.head) / 2), H(row.head)) << row.request;
        EXPECT_EQ(reply.size(), row.size) << row.request;
    }
    EXPECT_EQ(Read(*c, 0x0070, 3), (std::vector<uint16_t>{7, 8, 9})) << "the refused write changed nothing";
}

TEST(Model, KeysChangeTheStatusOfTheirChannelOnly) {
    // Keys: 1 run, 2 hold, 3 step, 4 stop, 5 user key; other values are
    // ignored. Status low byte: 1 program run, 2 fixed run, 4 hold.
    struct Row { int channel; bool fixed; std::vector<int> keys; int status, segment, user; };  // fixed: FixMode 1
    const Row rows[] = {
        {1, false, {1}, 1, 1, 0},       {1, false, {1, 2}, 5, 1, 0},    {1, false, {1, 2, 2}, 1, 1, 0},
        {1, false, {1, 2, 1}, 1, 1, 0}, {1, false, {1, 3}, 1, 2, 0},    {1, false, {1, 3, 4}, 0, 0, 0},
        {1, false, {2}, 0, 0, 0},       {1, true, {1}, 2, 0, 0},        {1, true, {1, 3}, 2, 0, 0},
        {1, false, {5}, 0, 0, 1},       {1, false, {5, 5}, 0, 0, 0},    {1, false, {9, 0}, 0, 0, 0},
        {2, false, {1}, 1, 1, 0},       {2, false, {1, 2}, 5, 1, 0},    {2, false, {1, 3}, 1, 2, 0},
        {2, true, {1}, 2, 0, 0},        {2, false, {1, 4}, 0, 0, 0},    {2, false, {5}, 0, 0, 1},
    };
    const int status[] = {0x0004, 0x0006}, segment[] = {0x0024, 0x0026}, user[] = {0x0048, 0x0049},
              key[] = {0x0065, 0x0066}, fixMode[] = {0x006E, 0x0075}, endDate[] = {0x039C, 0x03A6};
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << "channel " << row.channel << (row.fixed ? " fixed, keys " : ", keys ")
                                          << ::testing::PrintToString(row.keys));
        auto c = Make("QEL2100");
        const int ch = row.channel - 1, other = 1 - ch;
        if (row.fixed) Write(*c, fixMode[ch], 1);
        for (int k : row.keys) Write(*c, key[ch], k);
        EXPECT_EQ(c->reg(status[ch]) & 0xFF, row.status);
        EXPECT_EQ(c->reg(segment[ch]), row.segment);
        EXPECT_EQ(c->reg(user[ch]), row.user);
        EXPECT_EQ(c->reg(key[ch]), 0) << "a key is a pulse, not kept";
        EXPECT_EQ(c->reg(status[other]) & 0xFF, 0);
        EXPECT_EQ(c->reg(user[other]), 0);
        EXPECT_EQ(Read(*c, endDate[other], 5), Unset);
    }
}

TEST(Model, RunStatusIsTheValueTheStationSwitchesOn) {
    // The status low byte as the chamber page names its states: 1 program
    // run, 65 program run waiting at a segment's end, 2 fixed run, 5 program
    // run on hold, 0 stopped. Read through function 03 as the station does.
    struct Row { const char* what; int channel; bool fixed, wait; std::vector<int> keys; int seconds, status; };
    const Row rows[] = {
        {"program run", 1, false, false, {1}, 0, 1},
        {"fixed run", 1, true, false, {1}, 0, 2},
        {"program run on hold", 1, false, false, {1, 2}, 0, 5},
        {"program run waiting: PV lags the ramp by more than the band", 1, false, true, {1}, 600, 65},
        {"program run after its first segment without waiting", 1, false, false, {1}, 600, 1},
        {"stopped", 1, true, false, {1, 4}, 0, 0},
        {"program run of channel 2", 2, false, false, {1}, 0, 1},
        {"fixed run of channel 2", 2, true, false, {1}, 0, 2},
        {"program run of channel 2 on hold", 2, false, false, {1, 2}, 0, 5},
    };
    const int status[] = {0x0004, 0x0006}, key[] = {0x0065, 0x0066}, fixMode[] = {0x006E, 0x0075},
              waitUse[] = {0x0121, 0x0122};
    for (const Row& row : rows) {
        auto c = Make("QEL2100");
        const int ch = row.channel - 1;
        if (row.fixed) Write(*c, fixMode[ch], 1);
        if (row.wait) Write(*c, waitUse[ch], 1);
        for (int k : row.keys) Write(*c, key[ch], k);
        After(*c, row.seconds);
        const QByteArray reply = c->handlePdu(H(QString::asprintf("03%04X0001", status[ch]).toLatin1()));
        ASSERT_EQ(reply.size(), 4) << row.what;
        EXPECT_EQ(static_cast<uint8_t>(reply[3]), row.status) << row.what;
    }
}

TEST(Model, ProcessValueFollowsTheSetPointInTheTimeGiven) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);    // fixed run
    Write(*c, 0x0067, 800);  // to 80.0
    Write(*c, 0x0065, 1);
    EXPECT_EQ(c->reg(0x000B), 800);
    EXPECT_EQ(c->reg(0x0009), 230) << "no time passed, no change from 23.0";
    int last = 230;
    for (int minute = 1; minute <= 10; ++minute) {
        After(*c, 60);
        const int pv = static_cast<int16_t>(c->reg(0x0009));
        EXPECT_TRUE(minute > 1 || (pv > 400 && pv < 760)) << pv << " after a minute: a lag, not a jump";
        EXPECT_TRUE(pv > last || last >= 790) << "still rising at minute " << minute;
        EXPECT_LE(pv, 800);
        last = pv;
    }
    EXPECT_GE(last, 795) << "close to the set point after ten minutes";
    EXPECT_GT(c->reg(0x000D), 0) << "some output while running";
    Write(*c, 0x0065, 4);
    After(*c, 600);
    EXPECT_LT(static_cast<int16_t>(c->reg(0x0009)), last) << "stopped, it drifts back toward ambient";
    EXPECT_EQ(c->reg(0x000D), 0);

    // The same time in one step or in 1800 steps gives the same map, ripple included.
    auto a = Make("QEL2100", true), b = Make("QEL2100", true);
    for (Chamber* x : {a.get(), b.get()})
        for (int key : {0x0065, 0x0066}) Write(*x, key, 1);
    After(*a, 1800);
    for (int i = 0; i < 1800; ++i) After(*b, 1);
    EXPECT_EQ(Read(*a, 0x0002, 120), Read(*b, 0x0002, 120));
}

TEST(Model, EndDateWhileRunningAndUnsetWhenStopped) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);  // fixed run
    Write(*c, 0x0070, 1);  // with a run time of
    Write(*c, 0x0071, 2);  // 2 h
    EXPECT_EQ(Read(*c, 0x039C, 5), Unset);
    Write(*c, 0x0065, 1);  // at 2024-01-31 08:15:07
    EXPECT_EQ(Read(*c, 0x039C, 5), (std::vector<uint16_t>{2024, 1, 31, 10, 15}));
    After(*c, 1800);
    EXPECT_EQ(Read(*c, 0x039C, 5), (std::vector<uint16_t>{2024, 1, 31, 10, 15})) << "the end does not move";
    Write(*c, 0x0065, 4);
    EXPECT_EQ(Read(*c, 0x039C, 5), Unset);

    Write(*c, 0x0071, 0);
    Write(*c, 0x0072, 90);  // 90 s: the run ends by itself
    Write(*c, 0x0065, 1);
    After(*c, 89);
    EXPECT_EQ(c->reg(0x0004) & 0xFF, 2) << "still in its fixed run";
    After(*c, 2);
    EXPECT_EQ(c->reg(0x0004) & 0xFF, 0);
    EXPECT_EQ(Read(*c, 0x039C, 5), Unset);
}
