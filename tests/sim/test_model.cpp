// The register model of QEL2000/QEL2100 chambers, driven through Modbus pdus
// with the time passed in. Register numbers are those of the controllers'
// map, written out here rather than taken from the model.
#include <gtest/gtest.h>

#include <QDateTime>

#include "model.h"
#include "sim_test_util.h"

using namespace qelsim;

namespace {

const QDateTime T0(QDate(2024, 1, 31), QTime(8, 15, 7));

std::unique_ptr<Chamber> Make(const char* model, std::vector<int> dps = {}, bool noise = false) {
    ChamberConfig c;
    c.address = 1;
    c.model = model;
    c.decimals = std::move(dps);
    c.noise = noise;
    auto chamber = MakeChamber(c);
    chamber->step(T0);
    return chamber;
}

QByteArray Pdu(std::initializer_list<int> bytes) {
    QByteArray b;
    for (int x : bytes) b.append(static_cast<char>(x));
    return b;
}

// Registers through function 03, checking the reply's head on the way.
std::vector<uint16_t> Read(Chamber& c, int reg, int count) {
    const QByteArray reply = c.handlePdu(Pdu({3, reg >> 8, reg & 0xFF, count >> 8, count & 0xFF}));
    EXPECT_EQ(reply.size(), 2 + 2 * count);
    EXPECT_EQ(static_cast<uint8_t>(reply[0]), 3);
    std::vector<uint16_t> v;
    for (int i = 0; i < count && 3 + 2 * i < reply.size(); ++i)
        v.push_back(static_cast<uint16_t>((static_cast<uint8_t>(reply[2 + 2 * i]) << 8) |
                                          static_cast<uint8_t>(reply[3 + 2 * i])));
    return v;
}
uint16_t R(Chamber& c, int reg) { return Read(c, reg, 1).at(0); }

void Write(Chamber& c, int reg, int value) {
    const QByteArray req = Pdu({6, reg >> 8, reg & 0xFF, (value >> 8) & 0xFF, value & 0xFF});
    EXPECT_EQ(c.handlePdu(req), req) << "a write is echoed";
}

void Key(Chamber& c, int channel, int key) { Write(c, channel == 1 ? 0x0065 : 0x0066, key); }

void After(Chamber& c, int seconds) { c.step(c.now().addSecs(seconds)); }

std::vector<uint16_t> EndDate(Chamber& c, int channel) { return Read(c, channel == 1 ? 0x039C : 0x03A6, 5); }
const std::vector<uint16_t> Unset{1970, 1, 1, 0, 0};

}  // namespace

TEST(Model, KnownModelsAndChannels) {
    EXPECT_EQ(ModelChannels("QEL2000"), 1);
    EXPECT_EQ(ModelChannels("qel2100"), 2);
    EXPECT_EQ(ModelChannels("QEL9999"), 0);
    QString why;
    ChamberConfig c;
    c.model = "QEL9999";
    EXPECT_EQ(MakeChamber(c, &why), nullptr);
    EXPECT_TRUE(why.contains("QEL2000")) << "the reason names the known models";
}

TEST(Model, FreshChamberShowsStoppedPlausibleValues) {
    auto c = Make("QEL2100");
    // The station's poll block: 120 registers from 0x0002.
    const QByteArray reply = c->handlePdu(Pdu({0x03, 0x00, 0x02, 0x00, 0x78}));
    ASSERT_EQ(reply.size(), 2 + 240);
    EXPECT_EQ(static_cast<uint8_t>(reply[1]), 0xF0);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 0);  // stopped, channel 1
    EXPECT_EQ(R(*c, 0x0006) & 0xFF, 0);  // stopped, channel 2
    EXPECT_EQ(R(*c, 0x0009), 230);       // PV 23.0 at one decimal place
    EXPECT_EQ(R(*c, 0x000B), 250);       // SP 25.0
    EXPECT_EQ(R(*c, 0x000C), 600);       // SP of channel 2: 60.0
    EXPECT_EQ(R(*c, 0x000D), 0);         // no output while stopped
    EXPECT_EQ(R(*c, 0x0023), 1);         // pattern 1
    EXPECT_EQ(EndDate(*c, 1), Unset);
    EXPECT_EQ(EndDate(*c, 2), Unset);
}

TEST(Model, DecimalPlacesScaleRawValues) {
    EXPECT_EQ(R(*Make("QEL2000", {0}), 0x000B), 25);
    EXPECT_EQ(R(*Make("QEL2000", {2}), 0x000B), 2500);
    auto c = Make("QEL2100", {1, 0});
    EXPECT_EQ(R(*c, 0x000B), 250);
    EXPECT_EQ(R(*c, 0x000C), 60);
}

TEST(Model, ReadLimitsAndTheByteCountQuirk) {
    auto c = Make("QEL2000");
    // 130 registers: byte count (260) is sent modulo 256, all data follows.
    const QByteArray big = c->handlePdu(Pdu({0x03, 0x00, 0xC8, 0x00, 0x82}));
    ASSERT_EQ(big.size(), 2 + 260);
    EXPECT_EQ(static_cast<uint8_t>(big[1]), 0x04);
    EXPECT_EQ(c->handlePdu(Pdu({0x03, 0x00, 0x00, 0x00, 0x00})), Pdu({0x83, 0x03})) << "count 0";
    EXPECT_EQ(c->handlePdu(Pdu({0x03, 0x00, 0x00, 0x00, 0x83})), Pdu({0x83, 0x03})) << "count 131";
    EXPECT_EQ(c->handlePdu(Pdu({0x03, 0xFF, 0xFF, 0x00, 0x02})), Pdu({0x83, 0x02})) << "past the map's end";
    EXPECT_EQ(Read(*c, 0xFFFF, 1).size(), 1u) << "the last register is there";
}

TEST(Model, UnknownFunctionsAndMalformedRequests) {
    auto c = Make("QEL2000");
    EXPECT_EQ(c->handlePdu(Pdu({0x2B, 0x0E, 0x01, 0x00})), Pdu({0xAB, 0x01}));
    EXPECT_EQ(c->handlePdu(Pdu({0x04, 0x00, 0x00, 0x00, 0x01})), Pdu({0x84, 0x01}));
    EXPECT_EQ(c->handlePdu(Pdu({0x01, 0x00, 0x00, 0x00, 0x01})), Pdu({0x81, 0x01}));
    // Malformed: ignored, no reply at all.
    EXPECT_TRUE(c->handlePdu(Pdu({0x03, 0x00, 0x02, 0x00})).isEmpty()) << "read one byte short";
    EXPECT_TRUE(c->handlePdu(Pdu({0x06, 0x00, 0x65, 0x00, 0x01, 0x00})).isEmpty()) << "write one byte long";
    EXPECT_TRUE(c->handlePdu(Pdu({0x10, 0x00, 0x70, 0x00, 0x01, 0x02, 0x00})).isEmpty())
        << "data shorter than byte count";
    EXPECT_TRUE(c->handlePdu({}).isEmpty());
    // Well framed but inconsistent: count 2 with 2 data bytes.
    EXPECT_EQ(c->handlePdu(Pdu({0x10, 0x00, 0x70, 0x00, 0x02, 0x02, 0x00, 0x01})), Pdu({0x90, 0x03}));
    EXPECT_EQ(R(*c, 0x0070), 0) << "a refused write changes nothing";
}

TEST(Model, MultipleWriteLandsInTheMapAndIsAcknowledged) {
    auto c = Make("QEL2000");
    // The operation plan's write: 0x0070..0x0072 := 1, 2, 30.
    const QByteArray req = Pdu({0x10, 0x00, 0x70, 0x00, 0x03, 0x06, 0x00, 0x01, 0x00, 0x02, 0x00, 0x1E});
    EXPECT_EQ(c->handlePdu(req), Pdu({0x10, 0x00, 0x70, 0x00, 0x03}));
    EXPECT_EQ(Read(*c, 0x0070, 3), (std::vector<uint16_t>{1, 2, 30}));
    // A write far away from the live registers is kept as is.
    Write(*c, 0x4000, 0xBEEF);
    After(*c, 100);
    EXPECT_EQ(R(*c, 0x4000), 0xBEEF);
}

TEST(Model, KeysChangeTheStatusSeenByTheNextRead) {
    auto c = Make("QEL2000");
    Key(*c, 1, 1);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2) << "FixMode 0: a program run";
    EXPECT_EQ(R(*c, 0x0024), 1) << "segment 1";
    EXPECT_EQ(R(*c, 0x0065), 0) << "the key register does not keep the key";
    Key(*c, 1, 2);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2 | 4) << "hold";
    Key(*c, 1, 2);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2) << "hold again releases";
    Key(*c, 1, 3);
    EXPECT_EQ(R(*c, 0x0024), 2) << "step goes to the next segment";
    Key(*c, 1, 4);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 0) << "stop";
    EXPECT_EQ(R(*c, 0x0024), 0);

    Write(*c, 0x006E, 1);  // FixMode: fixed runs
    Key(*c, 1, 1);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 1) << "a fixed run";
    Key(*c, 1, 3);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 1) << "step means nothing in a fixed run";
    Key(*c, 1, 9);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 1) << "an unknown key is ignored";

    EXPECT_EQ(R(*c, 0x0048), 0);
    Key(*c, 1, 5);
    EXPECT_EQ(R(*c, 0x0048), 1) << "user key on";
    Key(*c, 1, 5);
    EXPECT_EQ(R(*c, 0x0048), 0) << "user key off";
}

TEST(Model, EachChannelHasItsOwnKeysAndStatus) {
    auto two = Make("QEL2100");
    Key(*two, 2, 1);
    EXPECT_EQ(R(*two, 0x0006) & 0xFF, 2);
    EXPECT_EQ(R(*two, 0x0004) & 0xFF, 0);
    Key(*two, 2, 5);
    EXPECT_EQ(R(*two, 0x0049), 1);
    EXPECT_EQ(R(*two, 0x0048), 0);
    EXPECT_NE(EndDate(*two, 2), Unset);
    EXPECT_EQ(EndDate(*two, 1), Unset);

    auto one = Make("QEL2000");
    Key(*one, 2, 1);  // a QEL2000 has no second channel
    EXPECT_EQ(R(*one, 0x0006), 0);
    EXPECT_EQ(R(*one, 0x0004), 0);
}

TEST(Model, ProcessValueLagsTowardTheSetPoint) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);    // fixed run
    Write(*c, 0x0067, 800);  // to 80.0
    Key(*c, 1, 1);
    EXPECT_EQ(R(*c, 0x000B), 800);
    EXPECT_EQ(R(*c, 0x0009), 230) << "no time passed, no change";
    int last = 230;
    for (int minute = 1; minute <= 10; ++minute) {
        After(*c, 60);
        const int pv = static_cast<int16_t>(R(*c, 0x0009));
        if (last < 790) {
            EXPECT_GT(pv, last) << "minute " << minute;
        }
        EXPECT_LE(pv, 800);
        last = pv;
    }
    EXPECT_GE(last, 795) << "after ten minutes close to the set point";
    EXPECT_GT(static_cast<int16_t>(R(*c, 0x000D)), 0) << "some output while running";

    Key(*c, 1, 4);
    After(*c, 600);
    const int cooled = static_cast<int16_t>(R(*c, 0x0009));
    EXPECT_LT(cooled, last) << "stopped, it drifts back toward ambient";
    EXPECT_GT(cooled, 230);
    EXPECT_EQ(R(*c, 0x000D), 0);
}

TEST(Model, TheSameTimeGivesTheSameValuesHoweverItIsCut) {
    auto a = Make("QEL2100", {}, true);
    auto b = Make("QEL2100", {}, true);
    for (auto* c : {a.get(), b.get()}) {
        Key(*c, 1, 1);
        Key(*c, 2, 1);
    }
    After(*a, 1800);
    for (int i = 0; i < 1800; ++i) After(*b, 1);
    EXPECT_EQ(Read(*a, 0x0002, 120), Read(*b, 0x0002, 120));
}

TEST(Model, RippleIsTinyAndDeterministic) {
    auto quiet = Make("QEL2000", {2}, false);
    auto noisy = Make("QEL2000", {2}, true);
    for (int s = 0; s < 20; ++s) {
        After(*quiet, 1);
        After(*noisy, 1);
        const int diff = static_cast<int16_t>(R(*noisy, 0x0009)) - static_cast<int16_t>(R(*quiet, 0x0009));
        EXPECT_LE(std::abs(diff), 8) << "at most 0.08 at two decimal places";
    }
}

TEST(Model, NegativeValuesAreTwosComplement) {
    auto c = Make("QEL2000");
    c->setRegister(0x0009, 0xFF38);  // -20.0
    EXPECT_EQ(R(*c, 0x0009), 0xFF38) << "a set process value is taken over as is";
    After(*c, 60);
    const int pv = static_cast<int16_t>(R(*c, 0x0009));
    EXPECT_GT(pv, -200) << "and drifts on from there";
    EXPECT_LT(pv, 230);

    Write(*c, 0x006E, 1);
    Write(*c, 0x0067, 0xFF9C);  // fixed set point -10.0
    EXPECT_EQ(R(*c, 0x000B), 0xFF9C);
}

TEST(Model, RunTimeCountsInHoursMinutesSeconds) {
    auto c = Make("QEL2100");
    Write(*c, 0x006E, 1);
    Key(*c, 1, 1);
    After(*c, 3725);  // 1 h 2 min 5 s
    EXPECT_EQ(Read(*c, 0x001D, 3), (std::vector<uint16_t>{1, 2, 5}));
    EXPECT_EQ(Read(*c, 0x0020, 3), (std::vector<uint16_t>{0, 0, 0})) << "channel 2 never ran";
    Key(*c, 2, 1);
    After(*c, 61);
    EXPECT_EQ(Read(*c, 0x0020, 3), (std::vector<uint16_t>{0, 1, 1}));
    EXPECT_EQ(Read(*c, 0x001D, 3), (std::vector<uint16_t>{1, 3, 6}));
}

TEST(Model, SegmentCountersUseHoursAndSeconds) {
    auto c = Make("QEL2000");
    Key(*c, 1, 1);
    const std::vector<uint16_t> set = Read(*c, 0x0031, 2);
    const int segSeconds = set[0] * 3600 + set[1];
    ASSERT_GT(segSeconds, 100);
    EXPECT_LT(set[1], 3600);
    After(*c, 100);
    EXPECT_EQ(Read(*c, 0x002F, 2), (std::vector<uint16_t>{0, 100}));
    After(*c, segSeconds - 100 + 5);
    EXPECT_EQ(R(*c, 0x0024), 2) << "the segment time ran out";
    EXPECT_EQ(Read(*c, 0x002F, 2), (std::vector<uint16_t>{0, 5}));
}

TEST(Model, EndDateWhileRunningAndUnsetWhenStopped) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);
    Write(*c, 0x0070, 1);  // run time on
    Write(*c, 0x0071, 2);  // 2 h
    Write(*c, 0x0072, 0);
    EXPECT_EQ(EndDate(*c, 1), Unset);
    Key(*c, 1, 1);  // at 2024-01-31 08:15:07
    EXPECT_EQ(EndDate(*c, 1), (std::vector<uint16_t>{2024, 1, 31, 10, 15}));
    After(*c, 1800);
    EXPECT_EQ(EndDate(*c, 1), (std::vector<uint16_t>{2024, 1, 31, 10, 15})) << "the end does not move";
    Key(*c, 1, 4);
    EXPECT_EQ(EndDate(*c, 1), Unset);

    // A program run ends when its segments are through: later than now.
    Write(*c, 0x006E, 0);
    Key(*c, 1, 1);
    const std::vector<uint16_t> end = EndDate(*c, 1);
    const QDateTime endTime(QDate(end[0], end[1], end[2]), QTime(end[3], end[4]));
    EXPECT_GT(endTime, c->now());
    After(*c, 90);
    EXPECT_EQ(EndDate(*c, 1), end);
}

TEST(Model, FixedRunWithTimerStopsByItself) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);
    Write(*c, 0x0070, 1);
    Write(*c, 0x0071, 0);
    Write(*c, 0x0072, 90);  // 90 s
    Key(*c, 1, 1);
    After(*c, 89);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 1);
    After(*c, 2);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 0);
    EXPECT_EQ(EndDate(*c, 1), Unset);
}

TEST(Model, HoldStopsTheSegmentClock) {
    auto c = Make("QEL2000");
    Key(*c, 1, 1);
    After(*c, 50);
    Key(*c, 1, 2);
    After(*c, 300);
    EXPECT_EQ(Read(*c, 0x002F, 2), (std::vector<uint16_t>{0, 50}));
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 6);
    Key(*c, 1, 1);  // run releases a hold too
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2);
}

TEST(Model, WaitHoldsTheProgramUntilThePvCatchesUp) {
    auto c = Make("QEL2000");
    Write(*c, 0x0121, 1);  // wait on, channel 1
    Write(*c, 0x0123, 2);  // band 0.2
    Write(*c, 0x0125, 0);  // no time limit
    Key(*c, 1, 1);
    const std::vector<uint16_t> set = Read(*c, 0x0031, 2);
    After(*c, set[0] * 3600 + set[1] + 1);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2 | 64) << "the ramp's end finds the PV behind";
    EXPECT_EQ(R(*c, 0x0024), 1);
    After(*c, 1200);
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 2) << "in band: the wait is over";
    EXPECT_EQ(R(*c, 0x0024), 2);
}

TEST(Model, PatternRepeatsThenStops) {
    auto c = Make("QEL2000");
    Write(*c, 0x0028, 2);  // two passes
    Key(*c, 1, 1);
    EXPECT_EQ(R(*c, 0x0027), 1);
    int segments = 0;
    while (R(*c, 0x0027) == 1 && segments < 50) {
        Key(*c, 1, 3);
        After(*c, 1);
        ++segments;
    }
    EXPECT_EQ(R(*c, 0x0027), 2) << "second pass";
    EXPECT_EQ(R(*c, 0x0024), 1);
    for (int i = 0; i < segments; ++i) {
        Key(*c, 1, 3);
        After(*c, 1);
    }
    EXPECT_EQ(R(*c, 0x0004) & 0xFF, 0) << "the program ended";
}

TEST(Model, PatternNumberIsTakenOnlyWhileStopped) {
    auto c = Make("QEL2000");
    Write(*c, 0x0063, 7);
    EXPECT_EQ(R(*c, 0x0023), 7);
    Key(*c, 1, 1);
    Write(*c, 0x0063, 9);
    EXPECT_EQ(R(*c, 0x0023), 7);
}

TEST(Model, FrozenChamberIsPlainMemory) {
    auto c = Make("QEL2000");
    c->setFrozen(true);
    c->setRegister(0x0004, 0x0044);  // hold + wait, as no live chamber would show on its own
    c->setRegister(0x0009, 0xFF38);
    Key(*c, 1, 4);
    After(*c, 3600);
    EXPECT_EQ(R(*c, 0x0004), 0x0044);
    EXPECT_EQ(R(*c, 0x0009), 0xFF38);
    EXPECT_EQ(R(*c, 0x0065), 4) << "the key is stored, not acted on";
    c->setFrozen(false);
    EXPECT_EQ(R(*c, 0x0004), 0) << "live again, the state is the model's";
    EXPECT_EQ(R(*c, 0x0009), 0xFF38) << "the process value is taken over";
}

TEST(Model, StepIgnoresTimeGoingBack) {
    auto c = Make("QEL2000");
    Write(*c, 0x006E, 1);
    Key(*c, 1, 1);
    After(*c, 10);
    const auto before = Read(*c, 0x001D, 3);
    c->step(T0);
    EXPECT_EQ(Read(*c, 0x001D, 3), before);
}
