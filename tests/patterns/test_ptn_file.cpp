// .PTN files against a layout written out here from the file's table (37
// items: texts as a 16-bit byte count and CP949 bytes, arrays of 101 or 5
// texts, TotalTime as a signed 32-bit number), not against our writer.
#include "app_dir.h"
#include "clock.h"
#include "ptn_file.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

namespace {

// The items of a file in order: 'T' a text, 'S' 101 texts, 'L' 5 texts, 'N' the 32-bit total.
constexpr const char kLayout[] = "TTTTTSSSSSSSSSSSSSSSSTTTLLLTNTTTTTTTT";
static_assert(sizeof(kLayout) - 1 == 37);

// A file built item by item; `texts` gives the non-empty texts by item and element.
struct Hand {
    std::map<std::pair<int, int>, QByteArray> texts;  // (item 0-based, element) -> CP949 bytes
    int32_t total = 0;
    QByteArray bytes() const {
        QByteArray out;
        for (int item = 0; item < 37; ++item) {
            const char kind = kLayout[item];
            if (kind == 'N') {
                out.append(reinterpret_cast<const char*>(&total), 4);
                continue;
            }
            const int n = kind == 'S' ? 101 : kind == 'L' ? 5 : 1;
            for (int e = 0; e < n; ++e) {
                const auto it = texts.find({item, e});
                const QByteArray t = it == texts.end() ? QByteArray() : it->second;
                const uint16_t len = static_cast<uint16_t>(t.size());
                out.append(reinterpret_cast<const char*>(&len), 2);
                out.append(t);
            }
        }
        return out;
    }
};

Hand Sample() {
    Hand h;
    h.texts[{0, 0}] = "7";                     // PatternNo
    h.texts[{1, 0}] = "25.0";                  // StartSP
    h.texts[{5, 0}] = "30.0";                  // SegSP
    h.texts[{5, 1}] = "-10.5";
    h.texts[{7, 0}] = "3600";                  // SegTime
    h.texts[{7, 1}] = "1800";
    h.texts[{10, 1}] = "12";                   // SegSignal3
    h.texts[{20, 0}] = "1";                    // SegUse
    h.texts[{21, 0}] = "0002";                 // PatternRepeat
    h.texts[{26, 3}] = "4";                    // LoopCount, element 3
    h.texts[{27, 0}] = "2";                    // SegmentCount as saved
    h.total = 5400;                            // TotalTime
    h.texts[{29, 0}] = "\xc7\xd1\xb1\xdb";     // RoomConfig: "한글" in CP949, 4 bytes
    h.texts[{36, 0}] = "-5";                   // DefrostTemp
    return h;
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

// Guards the layout both ways: a hand-built file reads into the record, the
// record writes into the same bytes, and an empty record is 3300 zero bytes.
TEST(PtnFile, LayoutBothWays) {
    qeltest::AppDir dir;
    dir.write("PTN/07.PTN", Sample().bytes());
    const PatternRec read = PC_ReadPattern(PatternRec{}, "7", dir.file("PTN/07.PTN"));
    ExpectSame(read, Expected());
    EXPECT_EQ(read.RoomConfig, QString::fromUtf8("한글"));
    EXPECT_EQ(read.TotalTime, 5400);
    EXPECT_EQ(PatternBytes(Expected()), Sample().bytes());
    EXPECT_EQ(PatternBytes(PatternRec{}), QByteArray(3300, '\0'));
    EXPECT_TRUE(dir.errorLog().isEmpty());
}

// Guards the segment count, which the read takes from SegTime (up to 101),
// and the total, which the read leaves as the file holds it.
TEST(PtnFile, SegmentCountFromSegTimeTotalAsStored) {
    qeltest::AppDir dir;
    PatternRec full;
    for (auto& t : full.SegTime) t = "60";
    full.SegmentCount = "5";
    full.TotalTime = 17;
    PC_SavePattern(full, dir.file("a.PTN"));
    PatternRec r = PC_ReadPattern(PatternRec{}, "1", dir.file("a.PTN"));
    EXPECT_EQ(r.SegmentCount, "101");
    EXPECT_EQ(r.TotalTime, 17);
    full.SegTime[0].clear();
    PC_SavePattern(full, dir.file("b.PTN"));
    EXPECT_EQ(PC_ReadPattern(PatternRec{}, "1", dir.file("b.PTN")).SegmentCount, "0");
}

// Guards an overwrite that does not cut the file: the old tail stays and a
// read stops at the end of the record.
TEST(PtnFile, AShorterRecordLeavesTheOldTail) {
    qeltest::AppDir dir;
    PatternRec longer = Expected();
    for (auto& t : longer.SegSP2) t = "123.4";
    EXPECT_EQ(PC_SavePattern(longer, dir.file("p.PTN")), -1);
    const qint64 size = QFileInfo(dir.file("p.PTN")).size();
    EXPECT_EQ(PC_SavePattern(Expected(), dir.file("p.PTN")), -1);
    EXPECT_EQ(QFileInfo(dir.file("p.PTN")).size(), size);
    ExpectSame(PC_ReadPattern(PatternRec{}, "7", dir.file("p.PTN")), Expected());
}

// Guards the name the read makes without a path: "07.PTN" in the current folder.
TEST(PtnFile, NoPathReadsTheNumberedFileOfTheCurrentFolder) {
    qeltest::AppDir dir;
    dir.write("07.PTN", Sample().bytes());
    const QString before = QDir::currentPath();
    QDir::setCurrent(dir.path());
    const PatternRec r = PC_ReadPattern(PatternRec{}, "7", QString());
    QDir::setCurrent(before);
    ExpectSame(r, Expected());
}

// Guards bad files: a short one gives what it holds, empty texts for the
// rest and an error-log line; a missing one leaves the record as it came; a
// path that cannot be written gives 0 and a line. No crash in any.
TEST(PtnFile, ShortMissingAndUnwritable) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    // 15 bytes of header texts, SegSP 211, SegSP2 202, SegTime[0] 6: the cut falls inside SegTime[1].
    dir.write("short.PTN", Sample().bytes().left(437));
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
