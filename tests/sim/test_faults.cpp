// Fault choice and the fault commands on the bus alone. The bytes of the
// faults that differ by framing are the transports' tests; the station's
// refusal of every fault is tested where the station reads them.
#include <gtest/gtest.h>

#include <QRegularExpression>
#include <set>

#include "commands.h"
#include "sim_test_util.h"

using namespace qelsim;
using simtest::H;

namespace {

const QByteArray Good = H("0103020000B844");  // chamber 1's status, answered properly on RTU

// n status reads of chamber 1 on RTU after the command.
std::vector<Bus::Reply> Draw(const char* command, uint64_t seed, int n) {
    auto bus = simtest::TwoChambers(seed);
    EXPECT_EQ(RunCommand(*bus, command).reply, "ok") << command;
    std::vector<Bus::Reply> replies;
    for (int i = 0; i < n; ++i) replies.push_back(bus->request(1, H("0300040001"), Framing::Rtu, {1, 0}));
    return replies;
}

}  // namespace

// Guards what a request draws: the mix by seed, a rate, and the wrong address after 247 (1, never broadcast 0).
TEST(BusFaults, MixedAndRatesDrawAsSetAndAddressesWrap) {
    const auto a = Draw("mixed 1", 7, 400), b = Draw("mixed 1", 7, 400), c = Draw("mixed 1", 8, 400);
    std::set<FaultMode> seen;
    int differ = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        seen.insert(a[i].mode);
        EXPECT_TRUE(a[i].mode == b[i].mode && a[i].bytes == b[i].bytes) << "same seed, same run; request " << i;
        differ += a[i].mode != c[i].mode;
        EXPECT_EQ(a[i].delayMs, a[i].mode == FaultMode::Delay ? 500 : 0);
        EXPECT_EQ(a[i].bytes == Good, a[i].mode == FaultMode::Normal || a[i].mode == FaultMode::Delay);
        EXPECT_TRUE(a[i].mode != FaultMode::Garbage || a[i].bytes.size() == 7) << "garbage as long as the reply";
        EXPECT_TRUE(a[i].mode != FaultMode::Noise || (a[i].bytes.endsWith(Good) && a[i].bytes.size() > 7))
            << "junk, then the whole reply";
    }
    EXPECT_GT(differ, 100) << "another seed, another run";
    EXPECT_EQ(seen.size(), 17u) << "all 19 modes but babble and mixed itself";
    EXPECT_FALSE(seen.count(FaultMode::Babble) || seen.count(FaultMode::Mixed));

    const struct { const char* command; int low, high; } rates[] = {
        {"wrongaddr 1 @0", 0, 0}, {"wrongaddr 1 @25", 200, 300}, {"wrongaddr 1 @100", 1000, 1000},
        {"mixed 1 @50", 400, 540},  // mixed draws normal too, 1 in 17
    };
    for (const auto& row : rates) {
        int faulted = 0;
        for (const Bus::Reply& r : Draw(row.command, 3, 1000)) {
            faulted += r.mode != FaultMode::Normal;
            EXPECT_TRUE(r.mode != FaultMode::Normal || r.bytes == Good) << row.command;
        }
        EXPECT_TRUE(faulted >= row.low && faulted <= row.high) << row.command << ": " << faulted;
    }
    Bus bus([] { return QDateTime(QDate(2024, 5, 1), QTime(12, 0)); });
    bus.add(MakeChamber({247, "QEL2000", {}, false}));
    bus.setFault(247, {FaultMode::WrongAddr});
    EXPECT_EQ(bus.request(247, H("0300040001"), Framing::Rtu, {247, 0}).bytes, Good);
    EXPECT_EQ(bus.request(247, H("0300040001"), Framing::Tcp, {255, 7}).bytes, H("0007000000050903020000"))
        << "unit 255 becomes 9";
}

// Guards the fault commands (a refused one changes nothing), "count" of every request, and the help.
TEST(BusFaults, CommandsAndTheirMistakes) {
    auto bus = simtest::TwoChambers();
    RunCommand(*bus, "silent 1");
    bus->request(1, H("0300040001"), Framing::Rtu, {1, 0});
    RunCommand(*bus, "stop 1");
    for (const char* pdu : {"0400040001", "0600040001"}) bus->request(1, H(pdu), Framing::Tcp, {1, 0});
    // Each line, its answer, and chamber 1's fault after it: mode, delay, rate.
    const struct { const char *line, *reply, *fault; } rows[] = {
        {"count 1", "ok 3", "silent 0 100"},
        {"count 9", "error: no chamber at address 9", "silent 0 100"},
        {"count", "error: usage: count ADDR|*", "silent 0 100"},
        {"delay 1 300", "ok", "delay 300 100"},
        {"MIXED 1 200 @30", "ok", "mixed 200 30"},
        {"badlrc 1 @5", "ok", "badcrc 0 5"},
        {"babble * @0", "ok", "babble 0 0"},
        {"delay 1", "error: delay wants MS, 0..600000", "babble 0 0"},
        {"delay 1 @20", "error: delay wants MS, 0..600000", "babble 0 0"},  // the rate is no MS
        {"huge 1 @101", "error: a rate is @P with P 0..100", "babble 0 0"},
        {"wrongfunc", "error: usage: wrongfunc ADDR|* [ARG] [@P]", "babble 0 0"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RunCommand(*bus, row.line).reply, row.reply) << row.line;
        const Fault f = bus->fault(1);
        EXPECT_EQ(QString("%1 %2 %3").arg(FaultName(f.mode)).arg(f.delayMs).arg(f.percent), row.fault) << row.line;
    }
    for (const char* name : {"twice", "wrongaddr", "wrongtid", "wrongpid", "wrongfunc", "badcount", "header", "huge",
                             "babble", "drop", "mixed", "badlrc", "count"})
        EXPECT_TRUE(CommandHelp().contains(QRegularExpression(QString("\\b%1\\b").arg(name)))) << name << " in help";
}
