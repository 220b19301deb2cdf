// Event detection and the run-state edges: the history rows, message-log
// lines and lamp colours of the texts and tables written out here.
#include "controls.h"
#include "event_scan.h"
#include "mode_checks.h"
#include "records_fixture.h"

using namespace qel;
using qeltest::RecordsTest;

namespace {

// Lamp-table entries of the family's layout: Inner 1, Time 17, Alarm 29,
// SegAlarm 37, DI first 41, DI second 57, DO first 73, DO second 89.
enum Base { Inner = 0, Time = 16, Alarm = 28, SegAlarm = 36, DI1 = 40, DI2 = 56, DO1 = 72, DO2 = 88 };

class Events : public RecordsTest {
protected:
    void SetUp() override {
        RecordsTest::SetUp();
        ChamberModel[0] = QStringLiteral("QEL2100");
        Chamber[0].ChannelCount = 2;
        DIErrorName[0][2] = QStringLiteral("Door open");
        DIErrorName[0][16] = QStringLiteral("Water");
    }
    // Only the listed entries selected in a table of 105.
    static void Select(std::array<QString, 106>& table, std::initializer_list<int> entries) {
        for (int i = 1; i <= 105; ++i) table[i] = QStringLiteral("E %1=0").arg(i);
        for (int e : entries) table[e] = QStringLiteral("E %1=1").arg(e);
    }
    QStringList rows() const {  // history texts only
        QStringList t;
        for (const QString& h : history) t << h.section('|', 2);
        return t;
    }
    QStringList lines(int chamber = 1) const {  // message-log texts only
        QStringList t;
        for (const QString& l : messageLog(chamber).split("\r\n", Qt::SkipEmptyParts)) t << l.mid(19);
        return t;
    }
    Color lamp(const char* set, int n) const { return PageControls(1).get(Indexed(QString::fromLatin1(set), n)).back; }
    ChamberRec& rec() { return Chamber[0]; }
};

}  // namespace

// Guards the event texts of every kind in table order, the channel label, second-board numbers, DI names, lamps.
TEST_F(Events, FamilyChangePassLogsEachSelectedItemInOrder) {
    Select(Log[0].Lamp2000[0], {Inner + 1, Inner + 5, Time + 2, Alarm + 8, SegAlarm + 1, DI1 + 3, DI2 + 1, DO1 + 16, DO2 + 2});
    rec().EvtWordD[0] = 0b10011;  // bit 2 is not selected
    rec().EvtWordC[0] = 2;
    rec().EvtWordA[0] = 0x80;
    rec().EvtWordB[0] = 1;
    rec().RelayWordA = 4;
    rec().RelayWordC = 1;
    rec().RelayWordB = static_cast<int16_t>(0x8000);
    rec().RelayWordD = 2;
    EventScan(1, 1);
    EXPECT_EQ(rows(), (QStringList{"CH2   Inner Signal 1 ON", "CH2   Inner Signal 5 ON", "CH2   Time Signal 2 ON",
                                   "CH2   Alarm Signal 8 ON", "CH2   SegAlarm Signal 1 ON", "CH2   DI 3 ON    Door open",
                                   "CH2   DI 17 ON    Water", "CH2   DO 16 ON", "CH2   DO 18 ON"}));
    EXPECT_EQ(lines(), (QStringList{"  Chamber 1     CH2     Inner Signal 1 ON", "  Chamber 1     CH2     Inner Signal 5 ON",
                                    "  Chamber 1     CH2     Time Signal 2 ON", "  Chamber 1     CH2     Alarm Signal 8 ON",
                                    "  Chamber 1     CH2     SegAlarm Signal 1 ON", "  Chamber 1     CH2     DI 3 ON",
                                    "  Chamber 1     CH2     DI 17 ON", "  Chamber 1     CH2     DO 16 ON",
                                    "  Chamber 1     CH2     DO 18 ON"}));
    for (int n = 1; n <= 9; ++n) EXPECT_EQ(lamp("Status_Lamp2000", n), colors::kRed) << n;
    EXPECT_FALSE(lamp("Status_Lamp2000", 10).isSet());
    EXPECT_EQ(history.first().section('|', 1, 1), "2024/01/31 08:15:07");

    history.clear();
    rec().EvtWordD[0] = 0b00011;  // 5 goes off, 2 (unselected) stays on
    rec().RelayWordA = 0;
    EventScan(1, 1);
    EXPECT_EQ(rows(), (QStringList{"CH2   Inner Signal 5 OFF", "CH2   DI 3 OFF    Door open"}));
    EXPECT_EQ(lines().mid(9), (QStringList{"  Chamber 1     CH2     Inner Signal 5 OFF", "  Chamber 1     CH2     DI 3 OFF"}));
    EXPECT_EQ(lamp("Status_Lamp2000", 1), colors::kRed);
    EXPECT_EQ(lamp("Status_Lamp2000", 2), colors::kBlack);
    EXPECT_EQ(lamp("Status_Lamp2000", 6), colors::kBlack);
}

// Guards an unchanged word logging (a bit on and off between polls), and a change logged for a lamp showing it.
TEST_F(Events, OnlyAChangedWordLogsAndTheLampDecides) {
    Select(Log[0].Lamp2000[0], {Inner + 1, Inner + 2});
    for (int n : {1, 2}) PageControls(1).setBack(Indexed("Status_Lamp2000", n), colors::kBlack);  // as the page lays them out
    rec().EvtWordD[0] = 1;
    EventScan(1, 1);
    rec().EvtWordD[0] = 1;  // bit 2 came and went between polls
    EventScan(1, 1);
    EXPECT_EQ(rows(), QStringList{"CH2   Inner Signal 1 ON"});
    PageControls(1).setBack("Status_Lamp2000(2)", colors::kRed);  // a lamp already red: no ON row for it
    rec().EvtWordD[0] = 3;
    EventScan(1, 1);
    EXPECT_EQ(rows(), QStringList{"CH2   Inner Signal 1 ON"});
    PageControls(1).setBack("Status_Lamp2000(1)", colors::kBlack);  // painted dark by hand: the paint pass corrects it
    EventScan(1, 1);
    EXPECT_EQ(lamp("Status_Lamp2000", 1), colors::kRed);
    EXPECT_EQ(rows().size(), 1);
    PageControls(1).clear();  // the page laid out anew: the scan's kept lamps are gone with it
    EventScan(1, 1);
    EXPECT_EQ(lamp("Status_Lamp2000", 1), colors::kRed);
}

// Guards the one-scan models' texts: no channel labels, their own bit counts, table bases and lamps.
TEST_F(Events, QEL2200AndQEL2300TextsAndBases) {
    ChamberModel[0] = QStringLiteral("QEL2200");
    Select(Log[0].Lamp2200, {1, 36 + 3, 68 + 1});  // Inner 1, DI 3, DO 1
    rec().EvtWordD[0] = 1;
    rec().RelayWordA = 4;
    rec().RelayWordB = 1;
    EventScan(1, 2);  // the channel is not looked at
    EXPECT_EQ(rows(), (QStringList{"Inner Signal 1 ON", " DI 3 ON    Door open", " DO 1 ON"}));
    EXPECT_EQ(lines(), (QStringList{"  Chamber 1     Inner Signal 1 ON", "  Chamber 1     DI 3 ON", "  Chamber 1     DO 1 ON"}));
    EXPECT_EQ(lamp("Status_Lamp2200", 3), colors::kRed);

    history.clear();
    ChamberName[1] = QStringLiteral("C2");
    ChamberModel[1] = QStringLiteral("QEL2300");
    Select(Log[1].Lamp2300, {13, 20 + 8});  // Time 1 (Inner has 12 bits), Alarm 8
    Chamber[1].EvtWordD[0] = 1 << 12;         // Inner bit 13: not one of the QEL2300's
    Chamber[1].EvtWordC[0] = 1;
    Chamber[1].EvtWordA[0] = 0x80;
    EventScan(2, 1);
    EXPECT_EQ(rows(), (QStringList{"Time Signal 1 ON", "Alarm Signal 8 ON"}));
    EXPECT_EQ(PageControls(2).get("Status_Lamp2300(2)").back, colors::kRed);
}

// Guards an unwritable message log: the pass ends at the lost line without an
// error-log line; the next pass paints the lamp and takes the kinds not reached.
TEST_F(Events, AnUnwritableMessageLogEndsThePassSilently) {
    Select(Log[0].Lamp2000[0], {Inner + 1, DO1 + 1});
    QDir(dir.file("Message")).removeRecursively();
    dir.write("Message", "in the way");
    rec().EvtWordD[0] = 1;
    rec().RelayWordB = 1;
    EventScan(1, 1);
    EXPECT_EQ(rows(), (QStringList{"CH2   Inner Signal 1 ON"}));
    EventScan(1, 1);
    EXPECT_EQ(rows(), (QStringList{"CH2   Inner Signal 1 ON", "CH2   DO 1 ON"}));
    EXPECT_EQ(lamp("Status_Lamp2000", 1), colors::kRed);
    EXPECT_FALSE(dir.errorLog().contains("EventScan")) << dir.errorLog().toStdString();
}

// Guards hold and wait: one latch for the station (a second chamber in hold logs nothing), the edges closing.
TEST_F(Events, HoldAndWaitEdgesThroughThePageChecks) {
    ChamberName[1] = QStringLiteral("C2");
    auto tick = [] {
        for (int16_t c = 1; c <= 2; ++c)
            for (int ch = 1; ch <= 2; ++ch) {
                HoldCheck(c, ch);
                WaitCheck(c, ch);
            }
    };
    rec().Status = {5, 1, 0};
    Chamber[1].Status = {1, 1, 0};
    tick();
    tick();
    EXPECT_EQ(HoldFlag[0], -1);
    Chamber[1].Status = {5, 0, 0};
    tick();
    rec().Status = {65, 1, 0};  // chamber 1 leaves hold and waits
    tick();
    EXPECT_EQ(HoldFlag[0], 0);
    rec().Status = {1, 1, 0};
    Chamber[1].Status = {1, 1, 0};
    tick();
    tick();
    EXPECT_EQ(history, (QStringList{"1|2024/01/31 08:15:07|START HOLD", "1|2024/01/31 08:15:07|STOP HOLD",
                                    "1|2024/01/31 08:15:07|START WAIT", "2|2024/01/31 08:15:07|START HOLD",
                                    "1|2024/01/31 08:15:07|STOP WAIT", "2|2024/01/31 08:15:07|STOP HOLD"}));
    EXPECT_EQ(lines(1), (QStringList{"START HOLD", "STOP HOLD", "START WAIT", "STOP WAIT"}));
    EXPECT_EQ(lines(2), (QStringList{"START HOLD", "STOP HOLD"}));
}
