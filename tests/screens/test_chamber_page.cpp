// The chamber page as data: what each control shows for records a test
// fills, for every model layout, and what its keys send. The expected texts,
// colours and registers are written here from the page's tables.
#include "app_dir.h"
#include "app_folder.h"
#include "chamber_page.h"
#include "clock.h"
#include "fake_serial.h"
#include "language.h"
#include "link.h"
#include "page_controls.h"
#include "profile.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {

// The words of the English language file, by PublicForm key.
const char* const kWords[] = {"",          "COMM ERROR",    "PROGRAM RUN",  "WAIT RUN",    "FIX RUN",
                              "HOLD",      "PROGRAM WAIT",  "FIX WAIT",     "END",         "FIX STOP",
                              "STOP",      "HIGH EXPOSURE", "AMBIENT EXPOSURE", "LOW EXPOSURE", "TRANSFER",
                              "HIGH WAIT", "AMBIENT WAIT",  "LOW WAIT",     "DEFROST",     "PRE-CONDITION"};

class Page : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        ClearPageControls();
        FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        Language = "ENG";
        LoadLanguage();
        DisbuttonRun = DisbuttonStop = DisbuttonAdv = DisbuttonHold = 1;
        use("QEL2000", "Oven");
    }
    void TearDown() override {
        Hooks = StationHooks{};
        ReadCommTimer = PollTimerSwitch{};
        RemoveLink();
        ClearLanguageTables();
    }
    void use(const char* model, const char* name) {
        ChamberModel[0] = model;
        ChamberName[0] = name;
        ChamberAddress[0] = "1";
        ChamberUse[0] = "1";
        Chamber[0].ChannelCount = ChannelCountOf(model);
        page = std::make_unique<ChamberPage>(1, op);
        page->load();
    }
    const Control& at(const QString& name) const { return PageControls(1).get(name); }
    QString text(const QString& name) const { return at(name).caption; }
    ChamberRec& rec() { return Chamber[0]; }

    qeltest::AppDir dir;
    ScriptedOperator op;
    std::unique_ptr<ChamberPage> page;
};

}  // namespace

// Guards the QEL2000 family's word, keys and time fields by Status: a key shown that the state must not offer.
TEST_F(Page, StatusDecidesWordKeysAndTimes) {
    struct Row {
        int status, fix;
        int word;  // PublicForm key, 0: unchanged
        bool run, hold, step, graph, start, end, times;
    };
    const Row rows[] = {
        {1, 0, 2, false, true, true, true, true, true, true},
        {65, 0, 3, false, true, true, true, true, true, true},
        {2, 1, 4, false, false, false, false, true, false, true},  // EndShown 0
        {0, 0, 10, true, false, false, false, false, false, false},
        {0, 1, 9, true, false, false, false, false, false, false},
        {128, 0, 8, true, false, false, false, false, false, false},
        {192, 1, 9, true, false, false, false, false, false, false},
        {256, 0, 10, true, false, false, false, false, false, false},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.status);
        rec().Status[0] = static_cast<int16_t>(r.status);
        rec().FixMode[0] = static_cast<int16_t>(r.fix);
        rec().RunTime[0] = 3 * 3600 + 4 * 60 + 5;
        PageControls(1).setCaption("Run_Time2000(1)", "untouched");
        page->refresh();
        EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), QString("  [Oven]  ") + kWords[r.word]);
        EXPECT_EQ(at("RUN_Stop_Key2000(1)").value, r.run);
        EXPECT_EQ(at("HOLD_Key2000(1)").visible, r.hold);
        EXPECT_EQ(at("STEP_Key2000(1)").visible, r.step);
        EXPECT_EQ(at("PT_Graph_Key2000(1)").visible, r.graph);
        EXPECT_EQ(at("Start_Time2000(1)").visible, r.start);
        EXPECT_EQ(at("lbl_EndTime2000(1)").visible, r.end);
        EXPECT_EQ(text("Run_Time2000(1)"), r.times ? "03:04:05" : "untouched");
    }
    // Hold shows the hold key down; an unnamed status keeps the word and still prints the times.
    rec().Status[0] = 5;
    page->refresh();
    EXPECT_TRUE(at("HOLD_Key2000(1)").value);
    EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), "  [Oven]  HOLD");
    rec().Status[0] = 7;
    rec().RunTime[0] = 100 * 3600 + 59;
    page->refresh();
    EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), "  [Oven]  HOLD");
    EXPECT_EQ(text("Run_Time2000(1)"), "100:00:59");
    // Keys switched off in the settings stay hidden in every state.
    DisbuttonStop = 0;
    rec().Status[0] = 1;
    page->refresh();
    EXPECT_FALSE(at("RUN_Stop_Key2000(1)").visible);
}

// Guards the lost and unused display, and the QEL2200's dashes on the QEL2000 labels while its own keep values.
TEST_F(Page, LostAndUnusedChambers) {
    rec().Status[0] = 1;
    rec().PV[0] = 21;
    page->refresh();
    PageControls(1).setBack("Status_Lamp2100(3)", colors::kRed);
    CommError[0] = -1;
    page->refresh();
    EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), "  [Oven]  COMM ERROR");
    EXPECT_EQ(at("lbl_Chamber_Name2000(1)").back, colors::kRed);
    for (const char* v : {"PV2000(1)", "SP2000(3)", "MV2000(2)", "Full_PV(1)", "lblColor(1)"}) EXPECT_EQ(text(v), "-.-") << v;
    for (const char* k : {"RUN_Stop_Key2000(1)", "HOLD_Key2000(1)", "STEP_Key2000(1)", "USER_Key2000(1)"})
        EXPECT_FALSE(at(k).visible) << k;
    EXPECT_EQ(at("Status_Lamp2100(3)").back, colors::kBlack);
    // Back again: the values return.
    CommError[0] = 0;
    page->refresh();
    EXPECT_EQ(text("PV2000(1)"), "21");
    EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), "  [Oven]  PROGRAM RUN");

    ChamberAddress[0] = "0";
    page->refresh();
    EXPECT_EQ(text("lbl_Chamber_Name2000(1)"), "  [Oven]  ");

    use("QEL2200", "Humid");
    rec().PV[0] = 33;
    page->refresh();
    CommError[0] = -1;
    page->refresh();
    EXPECT_EQ(text("PV2200(1)"), "33");
    EXPECT_EQ(text("PV2000(1)"), "-.-");
    EXPECT_EQ(text("lbl_Chamber_Name2200"), "  [Humid]  COMM ERROR");
}

// Guards the QEL2300's rooms by Side: colours, words, the joined room's output, the stop that ends the refresh.
TEST_F(Page, Qel2300RoomsBySide) {
    use("QEL2300", "Shock");
    rec().MV = {11, 22, 33};
    rec().DP = {"0", "0", "0"};
    struct Row {
        int status, side, alt, mark;
        const char* word;
        Color back;
        const char* mv2;
    };
    const Row rows[] = {
        {1, 0, 0, 0, "HIGH EXPOSURE", Color::rgb(255, 51, 153), "11.0"},
        {1, 1, 0, 0, "AMBIENT EXPOSURE", Color::rgb(51, 153, 0), "22.0"},
        {65, 2, 1, 0, "LOW WAIT", Color::rgb(51, 102, 255), "33.0"},  // 65 before the alternate
        {1, 2, 1, 0, "DEFROST", Color::rgb(51, 102, 255), "33.0"},
        {1, 0, 0, 1, "HIGH EXPOSURE PRE-CONDITION", Color::rgb(255, 51, 153), "11.0"},
        {1, 1, 0, 1, "PRE-CONDITION", Color::rgb(51, 153, 0), "22.0"},
        {0, 0, 0, 0, "STOP", Color::rgb(51, 153, 0), "22.0"},
        {64, 0, 0, 0, "END", Color::rgb(51, 153, 0), "22.0"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        rec().Status[0] = static_cast<int16_t>(r.status);
        rec().Side = static_cast<int16_t>(r.side);
        rec().SideAltA = static_cast<int16_t>(r.alt);
        rec().SideMark = static_cast<int16_t>(r.mark);
        page->refresh();
        EXPECT_EQ(text("lbl_Chamber_Name2300"), QString("  [Shock]  ") + r.word);
        EXPECT_EQ(at("Frame36(3)").back, r.back);
        EXPECT_EQ(at("SP2300(2)").back, r.back);
        EXPECT_EQ(text("MV2300(2)"), r.mv2);
    }
    EXPECT_TRUE(at("RUN_Stop_Key2300").value);
    EXPECT_FALSE(at("Run_Time2300").visible);
}

// Guards the lamp field filled from the selected entries as the lamp files say, and a model outside the five.
TEST_F(Page, LampFieldAndAnUnknownModel) {
    use("QEL2100", "X");
    // Selected entries 2 and 5 of channel 2's table become lamps 1 and 2.
    for (const char* file : {"SetLamp_2000.ini", "SetLamp_2100.ini"})
        for (int i = 1; i <= 105; ++i)
            ASSERT_TRUE(WriteProfileString("QEL2100_1", QString("Lamp %1").arg(i, 2, 10, QChar('0')),
                                           i == 2 || i == 5 ? QString("IS %1=1/").arg(i) : QString("L%1=0/").arg(i),
                                           dir.file(file)));
    page->Dis_Screens();
    EXPECT_EQ(text("Status_Lamp2100(1)"), "IS 2");
    EXPECT_EQ(text("Status_Lamp2100(2)"), "IS 5");
    EXPECT_TRUE(at("Status_Lamp2100(2)").visible);
    EXPECT_FALSE(at("Status_Lamp2100(3)").visible);

    ChamberModel[0] = "QEL9000";
    page->Dis_Screens();
    page->refresh();
    EXPECT_TRUE(at("QEL2100").visible);  // left as it was
    page->ShowChannelFrame(2);
    EXPECT_EQ(StatusPanel3, "2");
    EXPECT_FALSE(at("QEL2000").visible);
}

namespace {

// The page's keys on a scripted RTU line: what reaches the controller.
class PageKeys : public Page {
protected:
    void SetUp() override {
        Page::SetUp();
        SetClock(&clock);
        port = qeltest::InstallFakeSerialPort();
        OpenLink();
        Hooks.historyRow = [this](int16_t, const QString& time, const QString& text) {
            page->addHistoryRow(time, text);
        };
    }
    void TearDown() override {
        SetClock(nullptr);
        Page::TearDown();
    }
    QStringList sent() const {
        QStringList out;
        for (const QByteArray& b : port->sent) out << QString::fromLatin1(b.chopped(2).toHex().toUpper());
        return out;
    }
    ManualClock clock;
    qeltest::FakeSerialPort* port = nullptr;
};

}  // namespace

// Guards the confirmations: Cancel sends nothing and leaves the key; OK sends the key of the channel on display.
TEST_F(PageKeys, ConfirmedKeysReachTheController) {
    rec().Status[0] = 0;
    page->refresh();
    op.confirmations = {false, true};
    page->click("RUN_Stop_Key2000(1)");
    EXPECT_TRUE(at("RUN_Stop_Key2000(1)").value);
    EXPECT_TRUE(sent().isEmpty());
    rec().PTNo[0] = 7;
    page->click("RUN_Stop_Key2000(1)");
    EXPECT_EQ(StartPattern[0][0], "7");
    rec().Status[0] = 1;
    page->refresh();
    op.confirmations = {true, true, true};
    page->click("HOLD_Key2000(1)");
    page->click("STEP_Key2000(1)");
    page->click("RUN_Stop_Key2000(1)");
    EXPECT_EQ(sent(), QStringList({"010600650001", "010600650002", "010600650003", "010600650004"}));
    EXPECT_EQ(op.asked, QStringList({"confirm|RUN|Start the operation?", "confirm|RUN|Start the operation?",
                                     "confirm|HOLD RUN|Hold the operation?",
                                     "confirm|START STEP|Advance to the next segment?",
                                     "confirm|STOP|Stop the operation?"}));
    ASSERT_FALSE(page->history().isEmpty());
    EXPECT_EQ(page->history().last().text, "START STEP");
    // A lost chamber gets no start, but a stop all the same.
    CommError[0] = -1;
    PageControls(1).setValue("RUN_Stop_Key2000(1)", true);
    page->click("RUN_Stop_Key2000(1)");
    EXPECT_EQ(op.asked.size(), 5);
}

// Guards set point and pattern writes: fixed operation only, scaled, registers by model and channel, none running.
TEST_F(PageKeys, SetPointAndPatternNumberWrites) {
    rec().DP[0] = "0";
    page->click("SP2000(1)");  // program operation: no box
    EXPECT_TRUE(op.asked.isEmpty());
    rec().FixMode[0] = 1;
    op.inputs = {" ", "-12.5", "3"};
    page->click("SP2000(1)");
    page->click("SP2000(1)");
    page->click("PTNo2000(1)");
    rec().Status[0] = 2;
    page->click("PTNo2000(1)");
    EXPECT_EQ(op.asked.last(), "message|Running|The chamber is running.");
    use("QEL2400", "Tri");
    rec().FixMode[2] = 1;
    StatusPanel3 = "3";
    op.inputs = {"5"};
    page->click("SP2000(3)");
    EXPECT_EQ(sent(), QStringList({"01060067FF83", "010600630003", "0106006C0005"}));
}
