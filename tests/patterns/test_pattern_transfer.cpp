// Pattern transfers of the QEL2000/QEL2100 against a command window modelled
// here from the controller's tables (channel 0x044B, pattern 0x044C, segment
// 0x044D, range 0x0450/0x0451, command 0x0452: 2 load, 3 store, 5 clear) on
// a scripted RTU line with a manual clock, so that minutes of waits pass at
// once. The requests are checked against sequences written from the tables.
#include "pattern_transfer.h"
#include "state.h"
#include "transfer_line.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// The controller: pattern memory by (channel, pattern, segment); segment 0
// holds the header (0x0474..0x0477) and the tail (0x047D..0x048D), a segment
// its window (0x0464..0x0472) and its flag (0x048E).
struct Controller : qeltest::RegisterController {
    Controller() : RegisterController(0x0452) {}
    QMap<std::tuple<int, int, int>, QMap<int, uint16_t>> memory;

    static QList<int> WindowOf(int segment) {
        QList<int> w;
        if (segment == 0) {
            for (int r = 0x0474; r <= 0x0477; ++r) w << r;
            for (int r = 0x047D; r <= 0x048D; ++r) w << r;
        } else {
            for (int r = 0x0464; r <= 0x0472; ++r) w << r;
            w << 0x048E;
        }
        return w;
    }
    int segments(int ch, int p) const {
        int n = 0;
        while (memory.contains({ch, p, n + 1})) ++n;
        return n;
    }
    void command(int cmd) override {
        const int ch = regs[0x044B], p = regs[0x044C], seg = regs[0x044D];
        if (cmd == 2) {
            const auto item = memory.value({ch, p, seg});
            for (int r : WindowOf(seg)) regs[r] = item.value(r, 0);
            if (seg == 0) regs[0x0474] = static_cast<uint16_t>(segments(ch, p));
        } else if (cmd == 3) {
            auto& item = memory[{ch, p, seg}];
            for (int r : WindowOf(seg)) item[r] = regs.value(r, 0);
        } else if (cmd == 5) {
            for (auto it = memory.begin(); it != memory.end();)
                it = std::get<0>(it.key()) == ch && std::get<1>(it.key()) >= regs[0x0450] &&
                             std::get<1>(it.key()) <= regs[0x0451]
                         ? memory.erase(it)
                         : std::next(it);
        }
    }
};

class Transfer : public qeltest::TransferLine {
protected:
    void SetUp() override { start("QEL2100", {"0", "0", ""}, ctl); }
    static PatternRec Sample() {
        PatternRec r;
        r.StartType = "1";
        r.StartSP = "25.0";
        r.SegSP[0] = "-40.0";
        r.SegTime[0] = "5430";  // 1 h 30 min 30 s
        r.SegSignal2[0] = "12";
        r.SegAux4[0] = "3";
        r.SegUse[0] = "1";
        r.SegSP[1] = "85.5";
        r.SegTime[1] = "0";
        r.PatternRepeat = "2";
        r.ChannelRepeat = "0";
        r.EndMode = "1";
        r.LoopStart[0] = "1";
        r.LoopEnd[0] = "2";
        r.LoopCount[0] = "5";
        return r;
    }
    Controller ctl;
};

}  // namespace

// Guards the save's requests in the order of the tables: channel, clear, pattern
// level, header, then per segment select, data (set point scaled, hours one
// higher, remainder, eight signals), aux, flag, store; the tail only when
// touched, with the other channel's repeat at 1.
TEST_F(Transfer, SaveSendsTheTablesSequence) {
    PatternRec r = Sample();
    r.SegTime[1].clear();  // one segment
    TailDirty = -1;
    EXPECT_EQ(PatternSave(1, r, 3, 0, ui), -1);
    const QString zeros6 = QString(24, '0');
    EXPECT_EQ(ctl.bodies, (QStringList{"06044B0000", "100450000306000300030005", "10044B000306000000030000",
                                       "0604750001", "06047600FA", "0604520003",
                                       // -40.0 is -400: FE70; 5430 s: hours register 1 + 1, remainder 1830 = 0726
                                       "06044D0001", "100464000B16FE70000207260000000C" + zeros6,
                                       "10046F0004080000000000000003", "06048E0001", "0604520003",
                                       "10044B000306000000030000", "10047D0004080002000100010001",
                                       "100482000C18000100020005" + QString(36, '0'), "0604520003"}));
    EXPECT_EQ(r.SegmentCount, "1");
    EXPECT_EQ(r.TotalTime, 5430);
}

// Guards a save read back: every field as written, except that each segment
// comes back one hour longer (the hours register carries one more); a zero
// repeat goes as 1; channel index 1 uses its own start and repeat registers.
TEST_F(Transfer, SavedAndReadBackEverySegmentAnHourLonger) {
    for (int channel : {0, 1}) {
        SCOPED_TRACE(channel);
        PatternRec saved = Sample();
        TailDirty = -1;
        PatternSave(1, saved, 7, channel, ui);
        const PatternRec back = PatternRead(1, 7, channel, ui);
        EXPECT_EQ(back.PatternNo, "7");
        EXPECT_EQ(back.SegmentCount, "2");
        EXPECT_EQ(back.StartType, "1");
        EXPECT_EQ(back.StartSP, "25.0");
        EXPECT_EQ(back.SegSP[0], "-40.0");
        EXPECT_EQ(back.SegSP[1], "85.5");
        EXPECT_EQ(back.SegTime[0], "9030");
        EXPECT_EQ(back.SegTime[1], "3600");  // a segment of 0 s
        EXPECT_EQ(back.SegSignal2[0], "12");
        EXPECT_EQ(back.SegAux4[0], "3");
        EXPECT_EQ(back.SegUse[0], "1");
        EXPECT_EQ(back.PatternRepeat, "2");
        EXPECT_EQ(back.ChannelRepeat, "1");
        EXPECT_EQ(back.EndMode, "1");
        EXPECT_EQ(back.LoopCount[0], "5");
        EXPECT_EQ(back.TotalTime, 0);  // a read does not make it
    }
    EXPECT_EQ(ctl.memory.value({1, 7, 0}).value(0x0477), 250);  // channel 2's start set point
    EXPECT_EQ(ctl.memory.value({1, 7, 0}).value(0x047F), 1);    // the other channel's repeat set to 1
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards the stop key: pressed once the pattern is cleared, nothing more is
// written and the controller holds no pattern; a read stopped at the start
// sends only channel and pattern.
TEST_F(Transfer, StopLeavesTheClearedPattern) {
    PatternRec first = Sample();
    PatternSave(1, first, 4, 0, ui);
    ASSERT_EQ(ctl.segments(0, 4), 2);
    ctl.bodies.clear();
    stopAfter = 3;  // after channel, clear and pattern level
    PatternRec again = Sample();
    PatternSave(1, again, 4, 0, ui);
    EXPECT_EQ(ctl.bodies.size(), 3);
    EXPECT_EQ(ctl.segments(0, 4), 0);
    ctl.bodies.clear();
    stopAfter = 2;
    const PatternRec r = PatternRead(1, 4, 0, ui);
    EXPECT_EQ(ctl.bodies, (QStringList{"06044B0000", "06044C0004"}));
    EXPECT_TRUE(r.SegmentCount.isEmpty());
}

// Guards a controller that stops answering: the box "Communication error."
// under "Error", the record holds what was read, no crash; a pattern of no
// segments still has its tail read.
TEST_F(Transfer, NoAnswerAndNoSegments) {
    ctl.memory[{0, 5, 0}][0x047D] = 9;  // a tail, no segments
    PatternRec r = PatternRead(1, 5, 0, ui);
    EXPECT_EQ(r.SegmentCount, "0");
    EXPECT_EQ(r.PatternRepeat, "9");
    silent = true;
    for (int i = 0; i < 4; ++i) r = PatternRead(1, 5, 0, ui);  // until the chamber counts as lost
    EXPECT_EQ(boxes.last(), "Error|Communication error.");
    EXPECT_TRUE(r.PatternRepeat.isEmpty());
}
