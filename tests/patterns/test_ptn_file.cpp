// .PTN files against the layout built item by item in ptn_layout.h, not
// against our writer.
#include "app_dir.h"
#include "clock.h"
#include "ptn_file.h"
#include "ptn_layout.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

namespace {

QByteArray Sample() {
    using namespace qeltest;
    Texts t = {{{PatternNo, 0}, "7"}, {{StartSP, 0}, "25.0"}, {{SegUse, 0}, "1"}, {{PatternRepeat, 0}, "0002"},
               {{LoopCount, 3}, "4"}, {{SegmentCount, 0}, "2"}, {{SegSignal1 + 2, 1}, "12"},
               {{RoomConfig, 0}, "\xc7\xd1\xb1\xdb"},  // "한글" in CP949, 4 bytes
               {{DefrostTemp, 0}, "-5"}};
    Fill(t, SegSP, {"30.0", "-10.5"});
    Fill(t, SegTime, {"3600", "1800"});
    return PtnFile(t, 5400);
}

PatternRec Expected() {
    PatternRec r;
    r.PatternNo = "7";
    r.StartSP = "25.0";
    r.SegSP[0] = "30.0";
    r.SegSP[1] = "-10.5";
    r.SegTime[0] = "3600";
    r.SegTime[1] = "1800";
    r.SegSignal3[1] = "12";
    r.SegUse[0] = "1";
    r.PatternRepeat = "0002";
    r.LoopCount[3] = "4";
    r.SegmentCount = "2";
    r.TotalTime = 5400;
    r.RoomConfig = QString::fromUtf8("한글");
    r.DefrostTemp = "-5";
    return r;
}

void ExpectSame(const PatternRec& a, const PatternRec& b) { EXPECT_EQ(PatternBytes(a).toHex(), PatternBytes(b).toHex()); }

}  // namespace

// Guards the .PTN layout both ways: a hand-built file into the record and back into the same bytes; empty: 3300 zeros.
TEST(PtnFile, LayoutBothWays) {
    qeltest::AppDir dir;
    dir.write("PTN/07.PTN", Sample());
    const PatternRec read = PC_ReadPattern(PatternRec{}, "7", dir.file("PTN/07.PTN"));
    ExpectSame(read, Expected());
    EXPECT_EQ(read.RoomConfig, QString::fromUtf8("한글"));
    EXPECT_EQ(read.TotalTime, 5400);
    EXPECT_EQ(PatternBytes(Expected()), Sample());
    EXPECT_EQ(PatternBytes(PatternRec{}), QByteArray(3300, '\0'));
    EXPECT_TRUE(dir.errorLog().isEmpty());
}

// Guards a short, missing or unwritable .PTN file: what it holds, the record kept, 0 and an error-log line, no crash.
TEST(PtnFile, ShortMissingAndUnwritable) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    // 15 bytes of header texts, SegSP 211, SegSP2 202, SegTime[0] 6: the cut falls inside SegTime[1].
    dir.write("short.PTN", Sample().left(437));
    const PatternRec r = PC_ReadPattern(PatternRec{}, "7", dir.file("short.PTN"));
    EXPECT_EQ(r.StartSP, "25.0");
    EXPECT_EQ(r.SegTime[0], "3600");
    EXPECT_TRUE(r.SegTime[1].isEmpty());
    EXPECT_EQ(r.SegmentCount, "1");
    EXPECT_EQ(r.TotalTime, 0);
    EXPECT_TRUE(dir.errorLog().contains("Input past end of filemodFunc.PC_ReadPattern"));

    PatternRec kept = Expected();
    kept = PC_ReadPattern(kept, "9", dir.file("absent.PTN"));
    ExpectSame(kept, Expected());
    EXPECT_TRUE(dir.errorLog().contains("File not foundmodFunc.PC_ReadPattern"));
    EXPECT_EQ(PC_SavePattern(Expected(), dir.file("no/such/folder/x.PTN")), 0);
    EXPECT_TRUE(dir.errorLog().contains("Path not foundmodFunc.PC_SavePattern")) << dir.errorLog().toStdString();
}
