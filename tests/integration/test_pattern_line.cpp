// Pattern transfers of the library against qelsim over TCP: a pattern saved
// to a file, loaded, saved into the simulated controller, read back and saved
// again gives the file predicted here byte by byte (every segment an hour
// longer); a controller that goes away in the middle of a transfer costs the
// transfer, not the station.
#include "clock.h"
#include "line_fixture.h"
#include "language.h"
#include "link.h"
#include "pattern_transfer.h"
#include "ptn_file.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace qeltest;

namespace {

QByteArray Text(const QByteArray& t) {
    QByteArray b;
    b.append(char(t.size() & 0xFF)).append(char(t.size() >> 8)).append(t);
    return b;
}

class PatternLine : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(line.start("ETH", {{2, "QEL2100"}}, {"--no-noise"}, 40)) << line.sim.stderrText().toStdString();
        qel::ResetAllState();
        qel::AppPath = line.folder() + '/';
        qel::Protocol = "ETH";
        qel::RemotePort = static_cast<int16_t>(line.port);
        qel::PCSpeed = 40;
        qel::MaxChamberNo = 1;
        qel::ChamberUse[0] = "1";
        qel::ChamberAddress[0] = "2";
        qel::ChamberIP[0] = line.ip(2);
        qel::ChamberModel[0] = "QEL2100";
        qel::Chamber[0].DP = {"0", "0", ""};
        qel::Language = "ENG";
        qel::LoadLanguage();  // the folder holds the shipped language files
        qel::InstallQtLink();
        qel::OpenLink();
        qel::WaitSec(0.1);
        ui.message = [this](const QString& title, const QString& text) { boxes << title + "|" + text; };
    }
    void TearDown() override {
        qel::RemoveLink();
        qel::ClearLanguageTables();
    }

    SimLine line;
    qel::TransferUi ui;
    QStringList boxes;
};

}  // namespace

TEST_F(PatternLine, FileControllerFileRoundTrip) {
    qel::PatternRec made;
    made.PatternNo = "12";
    made.StartType = "2";
    made.StartSP = "20.0";
    made.SegSP[0] = "-40.0";
    made.SegTime[0] = "1800";
    made.SegSignal1[0] = "7";
    made.SegSP[1] = "150.5";
    made.SegTime[1] = "7260";
    made.SegUse[1] = "1";
    made.PatternRepeat = "3";
    made.LoopStart[0] = "1";
    made.LoopEnd[0] = "2";
    made.LoopCount[0] = "4";
    const QString first = line.folder() + "/12.PTN", second = line.folder() + "/12-back.PTN";
    ASSERT_EQ(qel::PC_SavePattern(made, first), -1);
    qel::PatternRec loaded = qel::PC_ReadPattern(qel::PatternRec{}, "12", first);
    qel::TailDirty = -1;
    qel::PatternSave(1, loaded, 12, 0, ui);
    const qel::PatternRec back = qel::PatternRead(1, 12, 0, ui);
    ASSERT_EQ(qel::PC_SavePattern(back, second), -1);

    // The file a read from the controller gives, item by item: the values
    // read, "0" for the signal, aux and flag words of each segment, the tail.
    QByteArray want = Text("12") + Text("20.0") + Text("") + Text("2") + Text("");
    const auto segments = [&](const QByteArray& s1, const QByteArray& s2) {
        want += Text(s1) + Text(s2);
        for (int e = 2; e < 101; ++e) want += Text("");
    };
    segments("-40.0", "150.5");                          // SegSP
    for (int e = 0; e < 101; ++e) want += Text("");       // SegSP2
    segments("5400", "10860");                           // SegTime: an hour longer each
    segments("7", "0");                                  // SegSignal1
    for (int k = 0; k < 11; ++k) segments("0", "0");     // SegSignal2..8, SegAux1..4
    segments("0", "1");                                  // SegUse
    want += Text("3") + Text("1") + Text("0");           // PatternRepeat, ChannelRepeat, EndMode
    for (const char* loop : {"1", "2", "4"}) {           // LoopStart, LoopEnd, LoopCount
        want += Text(loop);
        for (int e = 1; e < 4; ++e) want += Text("0");
        want += Text("");
    }
    want += Text("2") + QByteArray(4, '\0');             // SegmentCount, TotalTime
    for (int k = 0; k < 8; ++k) want += Text("");
    QFile f(second);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll().toHex(' ').toStdString(), want.toHex(' ').toStdString());
    EXPECT_TRUE(boxes.isEmpty());
}

// The controller leaves the line in the middle of a save: the save runs to
// its end without hanging or crashing; the read after it says so in its box.
TEST_F(PatternLine, AControllerThatGoesAwayMidTransfer) {
    qel::PatternRec r;
    for (int i = 0; i < 20; ++i) r.SegTime[i] = "60";
    int checks = 0;
    ui.stopped = [this, &checks] {
        if (++checks == 8) line.command("stop 2");
        return false;
    };
    qel::PatternSave(1, r, 3, 0, ui);
    const qel::PatternRec back = qel::PatternRead(1, 3, 0, ui);
    EXPECT_FALSE(boxes.isEmpty());
    EXPECT_EQ(boxes.last(), "Error|Communication error.");
    EXPECT_TRUE(back.SegmentCount.isEmpty());
}
