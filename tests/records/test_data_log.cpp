// The data log: file names, headers and rows checked byte for byte against
// the layout table (written out here, not taken from the writer), the row
// timing and the run edges. What a removed folder or a full disk costs is
// tested in tests/faults.
#include "data_log.h"
#include "data_log_file.h"
#include "data_log_layout.h"
#include "records_fixture.h"
#include "vbtext.h"

#include <QFile>
#include <bit>
#include <cstring>

using namespace qel;
using qeltest::RecordsTest;

namespace {

using qeltest::Row;
using qeltest::Text40;

// Channel k runs with PV 10+k, SP 20+k, target SP 30+k, MV 40+k.
void Running(int c, const char* model, int channels) {
    ChamberModel[c] = QString::fromLatin1(model);
    ChamberRec& r = Chamber[c];
    r.ChannelCount = static_cast<int16_t>(channels);
    for (int k = 0; k < 3; ++k) {
        r.PV[k] = 11 + k;
        r.SP[k] = 21 + k;
        r.TSP[k] = 31 + k;
        r.MV[k] = 41 + k;
        r.PTNo[k] = 7;
        r.Status[k] = k < std::max(channels, 1) ? 1 : 0;
        r.EndDate[k] = UnsetDate();
    }
}

class DataLog : public RecordsTest {
protected:
    QByteArray file(const QString& name) const { return dir.read("DATA/C1/" + name); }
    void advance(int seconds) { clock.advanceMs(seconds * 1000LL); }
};

}  // namespace

// Guards every data-log layout: name, title, channel text, row size and fields per model and mode, two rows apart.
TEST_F(DataLog, EveryLayoutMatchesTheTable) {
    struct Case {
        const char* what;
        const char* model;
        int channels;
        int linked;
        const char* variant;
        int fix;
        bool targetSP;
        void (*step)(int16_t);
        // per file: name, title, channel text, the row fields (of the second row when they differ)
        struct File {
            const char* name;
            const char* title;
            const char* channel;
            std::vector<double> fields;
            std::vector<double> second = {};
        };
        std::vector<File> files;
    };
    const std::vector<Case> cases = {
        {"QEL2000 per channel", "QEL2000", 1, 0, "0", 0, false, RunProc,
         {{"20240131081507_1.log", "[QEL2000] Programs RUN / PT NO. 7", "CH1", {11, 21, 41}}}},
        {"QEL2100 heat-cool", "QEL2100", 2, 0, "1", 0, false, RunProc,
         {{"20240131081507_HC.log", "[QEL2100-HC] Programs RUN / PT NO. 7", "CH1", {11, 21, 41, 0}, {11, 21, 41, 42}},
          {"20240131081507_2.log", "[QEL2100-HC] Programs RUN / PT NO. 7", "CH2", {12, 22, 42}}}},
        {"QEL2000 linked, fixed", "QEL2000", 1, 1, "0", 1, false, RunProc2,
         {{"20240131081507.log", "[QEL2000] FIX RUN", "", {11, 21, 41, 0, 0, 0}}}},
        {"QEL2100 linked, target SP", "QEL2100", 2, 1, "0", 0, true, RunProc2,
         {{"20240131081507.log", "[QEL2100] Programs RUN / PT NO. 7", "", {11, 31, 41, 12, 32, 42}}}},
        {"QEL2400 linked, variant 2 fixed", "QEL2400", 3, 1, "2", 1, false, RunProc2,
         {{"20240131081507.log", "[QEL2400-Z7] FIX RUN", "", {11, 21, 41, 12, 22, 42, 13, 23, 43}}}},
        {"QEL2400 per channel", "QEL2400", 3, 0, "0", 0, false, RunProc,
         {{"20240131081507_1.log", "[QEL2400] Programs RUN / PT NO. 7", "CH1", {11, 21, 41}},
          {"20240131081507_2.log", "[QEL2400] Programs RUN / PT NO. 7", "CH2", {12, 22, 42}},
          {"20240131081507_3.log", "[QEL2400] Programs RUN / PT NO. 7", "CH3", {13, 23, 43}}}},
        {"QEL2200, target SP", "QEL2200", 0, 0, "0", 0, true, RunProc2200,
         {{"20240131081507.log", "[QEL2200] Programs RUN / PT NO. 7", "CH1", {11, 31, 41, 12, 32, 42}}}},
        {"QEL2300 ignores target SP", "QEL2300", 0, 0, "0", 0, true, RunProc2300,
         {{"20240131081507.log", "[QEL2300] Programs RUN / PT NO. 7", "CH1", {11, 21, 41, 12, 22, 42, 13, 23, 43}}}},
    };
    FileSave = 30;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        QDir(dir.file("DATA/C1")).removeRecursively();
        QDir().mkpath(dir.file("DATA/C1"));
        ResetRunState();
        clock.set(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
        Log[0] = LogRec{};
        Log[0].LastSave.fill("0");
        Chamber[0] = ChamberRec{};
        Running(0, c.model, c.channels);
        Chamber[0].LinkedRun = static_cast<int16_t>(c.linked);
        Chamber[0].FixMode.fill(static_cast<int16_t>(c.fix));
        ChamberVariant[0] = c.variant;
        GraphInfo[1].CurrentOrTargetSP = c.targetSP ? 1 : 0;

        c.step(1);  // seconds 0 equal the seconds the record starts with: no sample yet
        advance(1);
        c.step(1);
        advance(30);
        c.step(1);
        EXPECT_EQ(QDir(dir.file("DATA/C1")).entryList(QDir::Files).size(), static_cast<int>(c.files.size()));
        for (const auto& f : c.files) {
            SCOPED_TRACE(f.name);
            const QByteArray expected =
                Text40(f.title) + Text40(f.channel) + Row(1, f.fields) + Row(31, f.second.empty() ? f.fields : f.second);
            EXPECT_EQ(file(f.name).toHex(' ').toStdString(), expected.toHex(' ').toStdString());
        }
    }
}

// Guards the row timing: first sample at once, then every FileSave s; a poll gap gives one row; one sample a second.
TEST_F(DataLog, RowsFollowFileSaveAndThePolls) {
    FileSave = 30;
    Running(0, "QEL2000", 1);
    for (int s : {0, 10, 20, 30, 40, 50, 60, 70}) {
        clock.set(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)).addSecs(s));
        RunProc(1);
        RunProc(1);  // the same second again: no sample, no row
    }
    clock.set(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)).addSecs(155));
    RunProc(1);
    const DataLogFile f = ReadDataLog(dir.file("DATA/C1/20240131081507_1.log"));
    ASSERT_TRUE(f.ok()) << f.error.toStdString();
    QList<int> seconds;
    for (const auto& r : f.rows) seconds << r.seconds;
    EXPECT_EQ(seconds, (QList<int>{10, 40, 70, 155}));
    EXPECT_EQ(SampleCount[1][0], 4);
    EXPECT_EQ(Log[0].Seconds[0], 155);
    EXPECT_EQ(PageControls(1).get("Start_Time2000(1)").caption, "2024/01/31 08:15");
    EXPECT_EQ(PageControls(1).get("lblFileName2000(1)").caption, dir.file("DATA/C1/20240131081507_1.log") + "  ");
}

// Guards the run edges: hold adds no rows, a stop ends the run, a new run within the last row's interval, two in 1 s.
TEST_F(DataLog, StopHoldAndTheNextRun) {
    FileSave = 30;
    Running(0, "QEL2000", 1);
    Chamber[0].EndDate[0] = QDateTime(QDate(2024, 2, 1), QTime(9, 0));
    RunProc(1);  // 08:15:07: the file, no sample at 0 s
    advance(30);
    RunProc(1);  // row 30
    advance(5);
    Chamber[0].Status[0] = 4;  // held without a run bit: the file stays, no rows
    RunProc(1);
    EXPECT_FALSE(CurrentDataLog(1, 1).isEmpty());
    advance(3);
    Chamber[0].Status[0] = 0;
    RunProc(1);  // 08:15:45
    EXPECT_TRUE(CurrentDataLog(1, 1).isEmpty());
    EXPECT_FALSE(Chamber[0].StartTime[0].isValid());
    EXPECT_EQ(PageControls(1).get("End_Time2000(1)").caption, "2024/01/31 08:15");

    advance(3);
    Chamber[0].Status[0] = 1;
    RunProc(1);  // 08:15:48: a new file, 11 s after the last row
    EXPECT_EQ(CurrentDataLog(1, 1), dir.file("DATA/C1/20240131081548_1.log"));
    EXPECT_EQ(dir.read("DATA/C1/20240131081548_1.log").size(), 80);
    Chamber[0].Status[0] = 0;
    RunProc(1);
    Chamber[0].Status[0] = 1;
    RunProc(1);  // the same second: not written over
    EXPECT_EQ(CurrentDataLog(1, 1), dir.file("DATA/C1/20240131081548_1_2.log"));
    EXPECT_EQ(ReadDataLog(dir.file("DATA/C1/20240131081507_1.log")).rows.size(), 1);
    EXPECT_EQ(history, (QStringList{"1|2024/01/31 08:15:07|CH1    START RUN", "1|2024/01/31 08:15:45|CH1    STOP RUN",
                                    "1|2024/01/31 08:15:48|CH1    START RUN", "1|2024/01/31 08:15:48|CH1    STOP RUN",
                                    "1|2024/01/31 08:15:48|CH1    START RUN"}));
    EXPECT_EQ(messageLog().count("  Chamber 1     CH1   START RUN"), 3);
}

