// Pattern transfers of the QEL2400 against a command window modelled here
// from the controller's tables (channel 0x018F, pattern 0x0190, segment
// 0x0191, range 0x0194/0x0195, command 0x0196: 2 load, 3 store, 5 clear;
// segment count 0x0221, header 0x0199, segment window 0x019D, tail 0x01B7)
// on a scripted RTU line with a manual clock. The requests are checked
// against sequences written from the tables.
#include "pattern_transfer_2400.h"
#include "state.h"
#include "transfer_line.h"

#include <QMap>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// The controller: memory by (channel, pattern, segment), each channel with
// patterns of its own. Segment 0 holds the pattern level: header
// 0x0199..0x019C and tail 0x01B7..0x01C7; segment k its window
// 0x019D..0x01B1, aux as written (0x01A8..) and as shown back (0x01AC..)
// included. A load brings the selected item's registers and leaves the
// others as they are; 0x0221 gets the segment count of the pattern.
struct Controller2400 : qeltest::RegisterController {
    Controller2400() : RegisterController(0x0196) {}
    QMap<std::tuple<int, int, int>, QMap<int, uint16_t>> memory;

    static QList<int> WindowOf(int segment) {
        QList<int> w;
        if (segment == 0) {
            for (int r = 0x0199; r <= 0x019C; ++r) w << r;
            for (int r = 0x01B7; r <= 0x01C7; ++r) w << r;
        } else {
            for (int r = 0x019D; r <= 0x01B1; ++r) w << r;
        }
        return w;
    }
    int segments(int ch, int p) const {
        int n = 0;
        while (memory.contains({ch, p, n + 1})) ++n;
        return n;
    }
    void command(int cmd) override {
        const int ch = regs[0x018F], p = regs[0x0190], seg = regs[0x0191];
        if (cmd == 2) {
            for (int r : WindowOf(seg)) regs[r] = memory.value({ch, p, seg}).value(r, 0);
            regs[0x0221] = static_cast<uint16_t>(segments(ch, p));
        } else if (cmd == 3) {
            auto& item = memory[{ch, p, seg}];
            for (int r : WindowOf(seg)) item[r] = regs.value(r, 0);
        } else if (cmd == 5) {
            for (auto it = memory.begin(); it != memory.end();)
                it = std::get<0>(it.key()) == ch && std::get<1>(it.key()) >= regs[0x0194] &&
                             std::get<1>(it.key()) <= regs[0x0195]
                         ? memory.erase(it)
                         : std::next(it);
        }
    }
};

class Transfer2400 : public qeltest::TransferLine {
protected:
    // Each channel its own places: raw, two, one.
    void SetUp() override { start("QEL2400", {"", "00", "0"}, ctl); }
    static PatternRec Sample() {
        PatternRec r;
        r.StartType = "1";
        r.StartSP = "25.0";
        r.SegSP[0] = "-40.0";
        r.SegTime[0] = "5430";  // 1 h 30 min 30 s
        r.SegSignal2[0] = "12";
        r.SegAux1[0] = "7";
        r.SegAux4[0] = "3";
        r.SegUse[0] = "1";
        r.SegSP[1] = "85.5";  // signals, aux and use left empty
        r.SegTime[1] = "0";
        r.PatternRepeat = "2";
        r.ChannelRepeat = "0";
        r.EndMode = "1";
        r.LoopStart = {"1", "", "", "4"};
        r.LoopEnd = {"2", "", "", "5"};
        r.LoopCount = {"5", "", "", "6"};
        return r;
    }
    Controller2400 ctl;
};

const QString z4 = "0000";

}  // namespace

// Guards the save's requests against the tables for channel index 2: channel,
// clear, pattern level, start type, start set point at 0x019C by channel 3's
// places, store; per segment select, fifteen registers (hours one higher,
// signals and aux, empties as 0000), flag, store; the tail with the other
// channels' repeats 0 and a zero repeat as 1, the loop rows row by row.
TEST_F(Transfer2400, SaveSendsTheTablesSequence) {
    PatternRec r = Sample();
    TailDirty = -1;
    EXPECT_EQ(QEL2400_PatternSave(1, r, 3, 2, ui), -1);
    EXPECT_EQ(ctl.bodies, (QStringList{
                              "06018F0002", "100194000306" "0003" "0003" "0005", "10018F000306" "0002" "0003" + z4,
                              "0601990001", "06019C00FA", "0601960003", "0601910001",
                              // -40.0 -> FE70; 5430 s -> hours 1 + 1, 1830 = 0726; signal 2 = 12; aux 1 = 7, aux 4 = 3
                              "10019D000F1E" "FE70" "0002" "0726" + z4 + "000C" + z4.repeated(6) + "0007" + z4 + z4 + "0003",
                              "0601B10001", "0601960003", "0601910002",
                              // 85.5 -> 0357; 0 s -> hours 1, 0
                              "10019D000F1E" "0357" "0001" + z4 + z4.repeated(12),
                              "0601B10000", "0601960003",
                              "10018F000306" "0002" "0003" + z4,
                              "1001B700050A" "0002" "0001" "0000" "0000" "0001",
                              "1001BC000C18" "0001" "0002" "0005" + z4.repeated(6) + "0004" "0005" "0006",
                              "0601960003"}));
    EXPECT_EQ(r.SegmentCount, "2");
    EXPECT_EQ(r.TotalTime, 5430);
    EXPECT_EQ(r.SegAux2[1], "0000");
    EXPECT_TRUE(boxes.isEmpty());
}

// Guards the stop key: after the start type nothing more is written and the
// pattern stays cleared; inside a segment its flag and store are not sent; a
// read stopped at its start sends the selection only; a download stopped in
// the segment loop reads the tail and does not fill the form.
TEST_F(Transfer2400, StopEndsAtItsCheckPoints) {
    PatternRec first = Sample();
    QEL2400_PatternSave(1, first, 4, 0, ui);
    ASSERT_EQ(ctl.segments(0, 4), 2);
    ctl.bodies.clear();
    stopAfter = 4;  // channel, clear, pattern level, start type
    PatternRec again = Sample();
    EXPECT_EQ(QEL2400_PatternSave(1, again, 4, 0, ui), -1);
    EXPECT_EQ(ctl.bodies.size(), 4);
    EXPECT_EQ(ctl.bodies.last(), "0601990001");
    EXPECT_EQ(ctl.segments(0, 4), 0);

    ctl.bodies.clear();
    stopAfter = 8;  // ... start set point, store, select 1, data of segment 1
    QEL2400_PatternSave(1, again, 4, 0, ui);
    EXPECT_EQ(ctl.bodies.last().left(12), "10019D000F1E");
    EXPECT_EQ(ctl.segments(0, 4), 0);
    EXPECT_TRUE(again.SegmentCount.isEmpty());

    ctl.bodies.clear();
    stopAfter = 1;
    EXPECT_TRUE(QEL2400_PatternRead(1, 4, 0, ui).StartType.isEmpty());
    EXPECT_EQ(ctl.bodies, QStringList{"10018F000204" "0000" "0004"});

    TailDirty = -1;
    QEL2400_PatternSave(1, first, 4, 0, {});
    ctl.bodies.clear();
    stopAfter = 5;  // after the first segment's select
    Pattern.PatternNo = "4";
    bool shown = false;
    ProgramDownload(1, 0, ui, [&] { shown = true; });
    EXPECT_EQ(ctl.bodies, (QStringList{"10018F000204" "0000" "0004", "0601960002", "0302210052", "0301990052",
                                       "0601910001", "0301B70052"}));
    EXPECT_EQ(Pattern.SegmentCount, "2");
    EXPECT_TRUE(Pattern.SegTime[0].isEmpty());
    EXPECT_EQ(Pattern.PatternRepeat, "2");
    EXPECT_FALSE(shown);
}

// Guards a download from a QEL2400: the model's own window is used, the
// working record gets the pattern of the channel asked for, and the form is
// filled through the callback; a QEL2100 chamber still gets its own window.
TEST_F(Transfer2400, ProgramDownloadUsesTheModelsWindow) {
    ctl.memory[{2, 6, 0}] = {{0x0199, 2}, {0x019C, 123}, {0x01B7, 4}};
    ctl.memory[{2, 6, 1}] = {{0x019D, 250}, {0x019E, 1}, {0x019F, 30}};
    Pattern = PatternRec{};
    Pattern.PatternNo = "6";
    int shown = 0;
    ProgramDownload(1, 2, ui, [&] { ++shown; });
    EXPECT_EQ(ctl.bodies.first(), "10018F000204" "0002" "0006");
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(Pattern.PatternNo, "6");
    EXPECT_EQ(Pattern.SegmentCount, "1");
    EXPECT_EQ(Pattern.StartSP, "12.3");
    EXPECT_EQ(Pattern.SegSP[0], "25.0");
    EXPECT_EQ(Pattern.SegTime[0], "3630");
    EXPECT_EQ(Pattern.PatternRepeat, "4");
    EXPECT_TRUE(boxes.isEmpty());

    ctl.bodies.clear();
    ChamberModel[0] = "QEL2100";
    ProgramDownload(1, 0, ui, [&] { ++shown; });
    EXPECT_EQ(ctl.bodies.first(), "06044B0000");
}

// Guards failures: a read the chamber does not answer shows "Communication
// error." under "Error" and holds nothing; a save does not look at the
// answers and runs to its end without a box; a channel index outside 0 to 2
// or a chamber outside the table sends nothing, the read logs, the save shows
// its box and logs, and the segment count is -1.
TEST_F(Transfer2400, NoAnswerAndBadTarget) {
    silent = true;
    const PatternRec r = QEL2400_PatternRead(1, 5, 0, ui);
    EXPECT_EQ(boxes, QStringList{"Error|Communication error."});
    EXPECT_EQ(ctl.bodies.size(), 3);  // selection, load, count
    EXPECT_TRUE(r.SegmentCount.isEmpty());

    boxes.clear();
    ctl.bodies.clear();
    PatternRec s = Sample();
    EXPECT_EQ(QEL2400_PatternSave(1, s, 5, 0, ui), -1);
    EXPECT_EQ(ctl.bodies.size(), 14);
    EXPECT_TRUE(boxes.isEmpty());
    silent = false;

    ctl.bodies.clear();
    for (int channel : {3, -1}) {
        SCOPED_TRACE(channel);
        EXPECT_TRUE(QEL2400_PatternRead(1, 5, channel, ui).PatternNo.isEmpty());
        EXPECT_EQ(QEL2400_PatternSave(1, s, 5, channel, ui), -1);
        EXPECT_EQ(QEL2400_PatternSegmentsOnController(1, 5, channel), -1);
    }
    EXPECT_TRUE(QEL2400_PatternRead(31, 5, 0, ui).PatternNo.isEmpty());
    EXPECT_TRUE(ctl.bodies.isEmpty());
    EXPECT_EQ(boxes, QStringList(2, "Pattern save|Pattern save error"));
    EXPECT_TRUE(dir.errorLog().contains("Pattern read errorSubscript out of range"));
    EXPECT_TRUE(dir.errorLog().contains("Pattern save errorSubscript out of range"));
}
