// Pattern transfers of the QEL2200 against a command window modelled here
// from the controller's tables (pattern 0x0519, segment 0x051A, range
// 0x051D/0x051E, command 0x051F: 2 load, 3 store, 5 clear; header 0x001D,
// tail 0x0021, segment window 0x0530) on a scripted RTU line with a manual
// clock. The requests are checked against sequences written from the tables.
#include "pattern_transfer_2200.h"
#include "state.h"
#include "transfer_line.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// The controller: memory by (pattern, segment). Segment 0 holds the pattern
// level: header 0x001E..0x0020 (0x001D, the count, is made on loading) and
// tail 0x0021..0x002F; segment k its window 0x0530..0x053C. A load always
// brings the pattern level, and the segment's window when one is selected.
struct Controller2200 : qeltest::RegisterController {
    Controller2200() : RegisterController(0x051F) {}
    QMap<std::pair<int, int>, QMap<int, uint16_t>> memory;

    static QList<int> WindowOf(int segment) {
        QList<int> w;
        for (int r = segment == 0 ? 0x001E : 0x0530; r <= (segment == 0 ? 0x002F : 0x053C); ++r) w << r;
        return w;
    }
    int segments(int p) const {
        int n = 0;
        while (memory.contains({p, n + 1})) ++n;
        return n;
    }
    void command(int cmd) override {
        const int p = regs[0x0519], seg = regs[0x051A];
        if (cmd == 2) {
            for (int r : WindowOf(0)) regs[r] = memory.value({p, 0}).value(r, 0);
            regs[0x001D] = static_cast<uint16_t>(segments(p));
            if (seg > 0)
                for (int r : WindowOf(seg)) regs[r] = memory.value({p, seg}).value(r, 0);
        } else if (cmd == 3) {
            auto& item = memory[{p, seg}];
            for (int r : WindowOf(seg)) item[r] = regs.value(r, 0);
        } else if (cmd == 5) {
            for (auto it = memory.begin(); it != memory.end();)
                it = it.key().first >= regs[0x051D] && it.key().first <= regs[0x051E] ? memory.erase(it) : std::next(it);
        }
    }
};

class Transfer2200 : public qeltest::TransferLine {
protected:
    void SetUp() override { start("QEL2200", {"0", "00", ""}, ctl); }  // channel 2 has two places
    static PatternRec Sample() {
        PatternRec r;
        r.StartType = "1";
        r.StartSP = "25.0";
        r.StartSP2 = "60.0";
        r.SegSP[0] = "-40.0";
        r.SegSP2[0] = "55.25";
        r.SegTime[0] = "5430";  // 1 h 30 min 30 s
        r.SegSignal2[0] = "12";
        r.SegUse[0] = "1";
        r.SegSP[1] = "85.5";  // SegSP2, signals and use left empty
        r.SegTime[1] = "0";
        r.PatternRepeat = "2";
        r.ChannelRepeat = "0";
        r.EndMode = "1";
        r.LoopStart = {"1", "3"};
        r.LoopEnd = {"2", "4"};
        r.LoopCount = {"5", "6"};
        return r;
    }
    Controller2200 ctl;
};

const QString z4 = "0000";

}  // namespace

// Guards the save's requests against the tables: clear, pattern level,
// header (StartSP2 by channel 1's DP), store; per segment select, 13
// registers (SegSP by channel 1's DP, SegSP2 by channel 2's, hours one
// higher, empties as 0000), store; the tail with the loop rows array by
// array and a zero repeat as 1.
TEST_F(Transfer2200, SaveSendsTheTablesSequence) {
    PatternRec r = Sample();
    TailDirty = -1;
    EXPECT_EQ(QEL2200_PatternSave(1, r, 3, ui), -1);
    EXPECT_EQ(ctl.bodies, (QStringList{
                              "10051D000306000300030005", "1005190002040003" + z4,
                              "10001E000306" "0001" "00FA" "0258",  // 25.0 and 60.0 at one place
                              "06051F0003", "06051A0001",
                              // -40.0 -> FE70; 55.25 at two places -> 5525 = 1595; 5430 s -> hours 1 + 1, 1830 = 0726
                              "100530000D1A" "FE70" "1595" "0002" "0726" + z4 + "000C" + z4.repeated(6) + "0001",
                              "06051F0003", "06051A0002",
                              // 85.5 -> 0357; SegSP2 empty -> 0; 0 s -> hours 1, 0
                              "100530000D1A" "0357" + z4 + "0001" + z4.repeated(10),
                              "06051F0003", "1005190002040003" + z4,
                              "100021000F1E" "0002" "0001" "0001"  // repeats, end mode
                              "0001" "0003" + z4 + z4 + "0002" "0004" + z4 + z4 + "0005" "0006" + z4 + z4,
                              "06051F0003"}));
    EXPECT_EQ(r.SegmentCount, "2");
    EXPECT_EQ(r.TotalTime, 5430);
    EXPECT_EQ(r.SegSP2[1], "0000");
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards the stop key: after clear and pattern level nothing more is written
// and the pattern stays cleared; stopped inside a segment its store is not
// sent; a download stopped in the segment loop reads the tail and never
// fills the form.
TEST_F(Transfer2200, StopEndsAtItsCheckPoints) {
    PatternRec first = Sample();
    QEL2200_PatternSave(1, first, 4, ui);
    ASSERT_EQ(ctl.segments(4), 2);
    ctl.bodies.clear();
    stopAfter = 2;
    PatternRec again = Sample();
    EXPECT_EQ(QEL2200_PatternSave(1, again, 4, ui), -1);
    EXPECT_EQ(ctl.bodies.size(), 2);
    EXPECT_EQ(ctl.segments(4), 0);

    ctl.bodies.clear();
    stopAfter = 6;  // clear, level, header, store, select 1, data of segment 1
    QEL2200_PatternSave(1, again, 4, ui);
    EXPECT_EQ(ctl.bodies.last().left(12), "100530000D1A");
    EXPECT_EQ(ctl.segments(4), 0);
    EXPECT_TRUE(again.SegmentCount.isEmpty());

    QEL2200_PatternSave(1, first, 4, {});
    ctl.bodies.clear();
    stopAfter = 4;  // after the first segment's select
    Pattern.PatternNo = "4";
    bool shown = false;
    QEL2200_ProgramDownload(1, ui, [&] { shown = true; });
    // The loop is left; the tail is read all the same, the form is not filled.
    EXPECT_EQ(ctl.bodies, (QStringList{"0605190004", "06051F0002", "03001D0052", "06051A0001",
                                       "10051900070E0004000000010001000100010002", "0300210052"}));
    EXPECT_EQ(Pattern.SegmentCount, "2");
    EXPECT_TRUE(Pattern.SegTime[0].isEmpty());
    EXPECT_FALSE(shown);
}

// Guards an empty pattern: the no-pattern message, the working record and the
// form left as they were, no segment or tail read.
TEST_F(Transfer2200, PatternOfNoSegmentsChangesNothing) {
    ctl.memory[{5, 0}][0x0021] = 9;  // a tail but no segments
    Pattern = Sample();
    Pattern.PatternNo = "5";
    bool shown = false;
    QEL2200_ProgramDownload(1, ui, [&] { shown = true; });
    EXPECT_FALSE(shown);
    EXPECT_EQ(boxes, QStringList{"Pattern information|No pattern is stored under this number."});
    EXPECT_EQ(Pattern.SegSP[0], "-40.0");
    EXPECT_EQ(Pattern.PatternNo, "5");
    EXPECT_EQ(ctl.bodies.size(), 3);
    EXPECT_TRUE(QEL2200_PatternRead(1, 5, ui).PatternRepeat.isEmpty());
}

// Guards a controller that does not answer: a read shows "Communication
// error." under "Error" and holds nothing; a save to a chamber already lost
// stops after storing the header with the same box; a chamber number outside
// the table is logged, not a crash.
TEST_F(Transfer2200, NoAnswerAndBadChamber) {
    silent = true;
    const PatternRec r = QEL2200_PatternRead(1, 5, ui);
    EXPECT_EQ(boxes, QStringList{"Error|Communication error."});
    EXPECT_TRUE(r.SegmentCount.isEmpty());

    boxes.clear();
    ctl.bodies.clear();
    CommError[0] = -1;
    PatternRec s = Sample();
    EXPECT_EQ(QEL2200_PatternSave(1, s, 5, ui), 0);
    EXPECT_EQ(ctl.bodies.size(), 4);
    EXPECT_EQ(ctl.bodies.last(), "06051F0003");
    EXPECT_EQ(boxes, QStringList{"Error|Communication error."});

    boxes.clear();
    EXPECT_TRUE(QEL2200_PatternRead(31, 5, ui).PatternNo.isEmpty());
    EXPECT_TRUE(dir.errorLog().contains("Pattern read errorSubscript out of range"));
    EXPECT_EQ(QEL2200_PatternSave(0, s, 5, ui), 0);
    EXPECT_EQ(boxes, QStringList{"Pattern save|Pattern save error"});
}
