// frmDisplay and frmGraphSet as data: what load shows, the field filters and
// checks, what the store keys leave in the settings files, and the poll that
// runs while a form is open. Files live in a fresh folder and are read back
// with the profile reader against key tables written out here.
#include "app_dir.h"
#include "clock.h"
#include "display_form.h"
#include "fake_serial.h"
#include "graph_set_form.h"
#include "language.h"
#include "link.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"

#include <QDir>
#include <QElapsedTimer>
#include <QCoreApplication>
#include <gtest/gtest.h>

using namespace qel;

namespace {

struct Key {
    const char* section;
    const char* key;
    const char* value;
};

// Every section and key a language file must hold; the text names the
// language, the section and the key ("ENG:DisplaySet 2").
void WriteLanguageFile(const qeltest::AppDir& dir, const QString& language) {
    QByteArray text;
    for (const LanguageSection& s : kLanguageSections) {
        text += QByteArray("[") + s.name + "]\r\n";
        for (int k = 1; k <= s.count; ++k)
            text += QString("%1=%2:%3 %1/\r\n").arg(k).arg(language, s.name).toLatin1();
    }
    dir.write(LanguageFileName(language), text);
}

class SettingsForms : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        WriteLanguageFile(dir, "ENG");
        WriteLanguageFile(dir, "KOR");
        Language = "ENG";
        LoadLanguage();
        ReadCommTimer.setEnabled = [this](bool on) { switches << (on ? "on" : "off"); };
    }
    void TearDown() override {
        ReadCommTimer = PollTimerSwitch{};
        Hooks = StationHooks{};
        ResetSettingsState();
    }
    QString Read(const char* file, const char* section, const char* key) const {
        return ReadProfileString(section, key, "<absent>", 100, 100, dir.file(file));
    }
    void ExpectKeys(const char* file, const std::vector<Key>& keys) const {
        for (const Key& k : keys)
            EXPECT_EQ(Read(file, k.section, k.key), k.value) << file << " [" << k.section << "] " << k.key;
    }
    // A folder where the settings file should be: every write to it fails.
    void Block(const char* file) const { QDir().mkpath(dir.file(file)); }

    qeltest::AppDir dir;
    ScriptedOperator op;
    QStringList switches;
};

// A chamber page set up for the graph form: chamber 2 on display.
class GraphForm : public SettingsForms {
protected:
    void SetUp() override {
        SettingsForms::SetUp();
        StatusPanel2 = "2";
        ChamberModel[1] = "QEL2100";
        GraphInfo[2].Max = {150, 90, 10};
        GraphInfo[2].Min = {-40, 10, 0};
        GraphInfo[2].XMajor = 6;
        GraphInfo[2].YMajor = 4;
        GraphInfo[2].CurrentOrTargetSP = 1;
        Chamber[1].DP = {"0", "", "00"};
        GraphLine = {0x000000, 0xFFFFFF, 0x808080};  // back, time, grid
    }
};

}  // namespace

// Guards what the operator sees first: every control holds the setting in force, captions come by their index.
TEST_F(SettingsForms, DisplayLoadShowsTheSettingsInForce) {
    FileSave = 45;
    DisbuttonRun = 1, DisbuttonStop = 0, DisbuttonHold = 1, DisbuttonAdv = 0;
    DisplayStatus = 1, DisplaySound = 0, CommDataSave = 1;
    DisplayForm form;
    form.Form_Load();

    EXPECT_EQ(form.title(), "ENG:MainForm 8");
    const struct { const char* control; int key; } captions[] = {
        {"Label2", 2}, {"Frame2", 3}, {"RunChkBtn", 4}, {"StopChkBtn", 5}, {"holdChkBtn", 6},
        {"advChkBtn", 7}, {"Label3", 8}, {"Frame3", 10}, {"Frame4", 11}, {"Label4", 15},
    };
    for (const auto& c : captions) EXPECT_EQ(form.text(c.control), QString("ENG:DisplaySet %1").arg(c.key)) << c.control;
    EXPECT_EQ(form.items("Combo2"), QStringList({"ENG:DisplaySet 12", "ENG:DisplaySet 13", "ENG:DisplaySet 14"}));

    EXPECT_EQ(form.text("GraphSampling"), "45");
    EXPECT_EQ(form.listIndex("Combo2"), 1);  // ENG
    EXPECT_EQ(form.listIndex("Combo1"), 1);
    for (const char* on : {"RunChkBtn", "holdChkBtn", "DisChkBtn"}) EXPECT_TRUE(form.checked(on)) << on;
    for (const char* off : {"StopChkBtn", "advChkBtn", "CWSound"}) EXPECT_FALSE(form.checked(off)) << off;
    EXPECT_TRUE(form.polling());
}

// Guards the key-press filters: a field takes only what its setting can hold.
TEST_F(GraphForm, FieldsLetThroughOnlyWhatTheSettingHolds) {
    DisplayForm display;
    GraphSetForm graph(op);
    const struct { const ModalForm& form; const char* field; const char* text; bool taken; } rows[] = {
        {display, "GraphSampling", "120", true},  {display, "GraphSampling", "", true},
        {display, "GraphSampling", "-5", false},  {display, "GraphSampling", "1.5", false},
        {display, "GraphSampling", "9999999999", false},
        {graph, "Graph_Max(1)", "-40", true},      {graph, "Graph_Min(3)", "-", true},
        {graph, "Graph_Min(2)", "4-0", false},     {graph, "Graph_Max(2)", "12a", false},
        {graph, "Graph_Max(1)", "40000", false},   {graph, "Graph_Min(1)", "-32768", true},
        {graph, "Text1", "12", true},              {graph, "Text2", "-3", false},
    };
    for (const auto& r : rows) EXPECT_EQ(r.form.accepts(r.field, r.text), r.taken) << r.field << " " << r.text;
}

// Guards the store: each key lands in its section, a record interval of 0 as 0, the trace from the click.
TEST_F(SettingsForms, DisplayStoreWritesTheKeysAndHandsThePollBack) {
    DisplayForm form;
    form.Form_Load();
    form.setText("GraphSampling", "0");
    form.setChecked("RunChkBtn", true);
    form.setChecked("advChkBtn", true);
    form.setChecked("DisChkBtn", true);
    form.setChecked("CWSound", true);
    form.listClick("Combo1", 1);
    EXPECT_EQ(CommDataSave, 1) << "the trace is taken over at the click";
    form.click("Command1");

    // Flags left as they were are not written.
    ExpectKeys("SetComm.ini", {{"FileSaveSec", "FileSave", "0"},         {"ButtonSet", "DisbuttonRun", "1"},
                               {"ButtonSet", "DisbuttonStop", "<absent>"}, {"ButtonSet", "DisbuttonHold", "<absent>"},
                               {"ButtonSet", "DisbuttonAdv", "1"},         {"ButtonSet", "DisplayStatus", "1"},
                               {"ButtonSet", "DisplaySound", "1"},         {"CommData", "CommDataSave", "1"},
                               {"Language", "Language", "<absent>"}});
    EXPECT_FALSE(form.isOpen());
    EXPECT_FALSE(form.polling());
    EXPECT_EQ(switches, QStringList{"on"});
}

// Guards the language switch: tables and screens change before the key is written, and before the other keys.
TEST_F(SettingsForms, LanguageSwitchReCaptionsBeforeItsKeyAndTheOthers) {
    QStringList seen;
    DisplayForm form([&] {
        seen << Language << Lang("MainForm", 1) << Read("SetComm.ini", "Language", "Language")
             << Read("SetComm.ini", "ButtonSet", "DisbuttonRun");
    });
    form.Form_Load();
    form.listClick("Combo2", 0);
    form.setChecked("RunChkBtn", true);
    form.click("Command1");
    EXPECT_EQ(seen, QStringList({"KOR", "KOR:MainForm 1", "<absent>", "<absent>"}));
    ExpectKeys("SetComm.ini", {{"Language", "Language", "KOR"}, {"ButtonSet", "DisbuttonRun", "1"}});

    // The language in force again: no re-captioning, no key.
    seen.clear();
    DisplayForm same([&] { seen << "recaption"; });
    same.Form_Load();
    same.click("Command1");
    EXPECT_TRUE(seen.isEmpty());
}

// Guards a store that fails half-way: logged under its name, the keys written before it stay.
TEST_F(SettingsForms, DisplayStoreFailureKeepsWhatWasWritten) {
    DisplayForm form;
    form.Form_Load();
    form.setText("GraphSampling", "60");
    form.listClick("Combo2", 2);  // CHN: no such language file here
    form.setChecked("RunChkBtn", true);
    form.click("Command1");
    EXPECT_TRUE(dir.errorLog().contains("frmCommSet.Command1_Click_Err")) << dir.errorLog().toStdString();
    ExpectKeys("SetComm.ini", {{"FileSaveSec", "FileSave", "60"}, {"Language", "Language", "<absent>"},
                               {"ButtonSet", "DisbuttonRun", "<absent>"}});
    EXPECT_FALSE(form.isOpen());

    // A file that cannot be written at all.
    QFile::remove(dir.file("SetComm.ini"));
    Block("SetComm.ini");
    DisplayForm blocked;
    blocked.Form_Load();
    blocked.setText("GraphSampling", "90");
    blocked.click("Command1");
    EXPECT_EQ(dir.errorLog().count("frmCommSet.Command1_Click_Err"), 2);
}

// Guards the graph form's load: the chamber of panel 2, its scales, places and colours, frames by channels.
TEST_F(GraphForm, LoadShowsTheChamberOfThePanel) {
    GraphSetForm form(op);
    form.Form_Load();
    EXPECT_EQ(form.chamber(), 2);
    EXPECT_EQ(form.title(), "ENG:GraphSetting 10");
    const struct { const char* control; int key; } captions[] = {
        {"Frame1(0)", 1}, {"Frame1(1)", 2}, {"Frame1(2)", 7}, {"Frame1(3)", 11}, {"Label1(0)", 3},
        {"Label1(1)", 4}, {"Label1(2)", 5}, {"Label1(3)", 6}, {"LabelSP(0)", 12}, {"LabelSP(1)", 13},
        {"Frame2", 14},   {"Frame3", 17},   {"Label2(0)", 8},
    };
    for (const auto& c : captions) EXPECT_EQ(form.text(c.control), QString("ENG:GraphSetting %1").arg(c.key)) << c.control;
    const struct { const char* control; const char* text; } fields[] = {
        {"Graph_Max(1)", "150"}, {"Graph_Max(2)", "90"}, {"Graph_Min(1)", "-40"}, {"Graph_Min(2)", "10"},
        {"Text1", "6"},          {"Text2", "4"},         {"lbl_BackColor", "0"}, {"lbl_Grid", "8421504"},
        {"lbl_TimeColor", "16777215"},
    };
    for (const auto& f : fields) EXPECT_EQ(form.text(f.control), f.text) << f.control;
    EXPECT_EQ(form.listIndex("Combo1(1)"), 1);
    EXPECT_EQ(form.listIndex("Combo1(2)"), 0);
    EXPECT_TRUE(form.checked("CWButton1"));

    const struct { const char* model; int frames; } models[] = {
        {"QEL2000", 1}, {"QEL2100", 2}, {"QEL2200", 2}, {"QEL2300", 3}, {"QEL2400", 3}, {"QEL9999", 0},
    };
    for (const auto& m : models) {
        ChamberModel[1] = m.model;
        GraphSetForm f(op);
        f.Form_Load();
        for (int i = 1; i <= 3; ++i)
            EXPECT_EQ(f.visible(QString("MinMax_CH%1").arg(i)), i <= m.frames) << m.model << " frame " << i;
    }
}

// Guards the range check: a minimum not below the maximum is refused with a warning, the field reset.
TEST_F(GraphForm, MinimumNotBelowMaximumResetsTheFieldLeft) {
    GraphSetForm form(op);
    form.Form_Load();
    const QString warning = "ENG:GraphSetting 3/ENG:GraphSetting 4 Error";
    const struct { const char* max; const char* min; const char* left; bool warned; const char* maxAfter;
                   const char* minAfter; } rows[] = {
        {"10", "20", "Graph_Max(1)", true, "300", "20"},
        {"100", "500", "Graph_Min(1)", true, "100", "0"},
        {"50", "50", "Graph_Min(1)", true, "50", "0"},
        {"-5", "-10", "Graph_Max(1)", false, "-5", "-10"},
        {"abc", "", "Graph_Max(1)", true, "300", ""},  // text without a number counts as 0
    };
    for (const auto& r : rows) {
        op.asked.clear();
        form.setText("Graph_Max(1)", r.max);
        form.setText("Graph_Min(1)", r.min);
        form.lostFocus(r.left);
        EXPECT_EQ(op.asked, r.warned ? QStringList{"message|" + warning + "|" + warning} : QStringList{}) << r.max;
        EXPECT_EQ(form.text("Graph_Max(1)"), r.maxAfter);
        EXPECT_EQ(form.text("Graph_Min(1)"), r.minAfter);
    }
}

// Guards the chamber store: scales, divisions, set point choice, places and shared colours in their files.
TEST_F(GraphForm, StoreWritesTheChamberSectionPlacesAndColours) {
    int applied = 0;
    GraphSetForm form(op, 0, [&] { ++applied; });
    form.Form_Load();
    form.setText("Graph_Max(1)", "120");
    form.setText("Graph_Min(1)", "-20");
    form.setText("Graph_Max(2)", "95");
    form.setText("Text1", "8");
    form.setText("Text2", "10");
    form.listClick("Combo1(1)", 2);
    form.listClick("Combo1(2)", 1);
    form.setChecked("CWButton1", false);
    form.click("CWButton1");
    EXPECT_EQ(GraphInfo[2].CurrentOrTargetSP, 0) << "taken over at the click";
    op.colors = {0x00FF8040};
    form.click("cmd_GridColor");
    EXPECT_EQ(form.text("lbl_Grid"), "16744512");
    form.click("cmd_BackColor");  // cancelled: the colour stays
    EXPECT_EQ(form.text("lbl_BackColor"), "0");
    form.click("Command1");

    ExpectKeys("SetScreensGraphInfo.ini", {{"Set_2", "MAX_2_1", "120"}, {"Set_2", "Min_2_1", "-20"},
                                           {"Set_2", "MAX_2_2", "95"},  {"Set_2", "Min_2_2", "10"},
                                           {"Set_2", "MAX_2_3", "10"},  {"Set_2", "Min_2_3", "0"},
                                           {"Set_2", "X_MAJOR_2", "8"}, {"Set_2", "Y_MAJOR_2", "10"},
                                           {"Set_2", "C_T_SP2", "0"}});
    ExpectKeys("SetUserTag.ini", {{"SDP_1", "2", "00/"}, {"SDP_2", "2", "0/"}, {"SDP_3", "2", "<absent>"}});
    ExpectKeys("SetGraphInfo.ini",
               {{"Line", "BackColor", "0"}, {"Line", "TimeColor", "16777215"}, {"Line", "GridColor", "16744512"}});
    EXPECT_EQ(Chamber[1].DP[0], "00");
    EXPECT_EQ(applied, 1);
    EXPECT_FALSE(form.isOpen());
    EXPECT_EQ(switches, QStringList{"on"});
}

// Guards the form for the pattern graph: only "PATTERN_Set" is written, no chamber record or colour.
TEST_F(GraphForm, PatternFormTouchesOnlyThePatternSection) {
    const QByteArray before = "[Set_2]\r\nMAX_2_1=150\r\nC_T_SP2=1\r\n";
    dir.write("SetScreensGraphInfo.ini", before);
    PatternGraph = {80, -20, 5, 4};
    int applied = 0;
    GraphSetForm form(op, kPatternGraphForm, [&] { ++applied; });
    form.Form_Load();
    EXPECT_TRUE(form.patternForm());
    EXPECT_EQ(form.text("Graph_Max(1)"), "80");
    EXPECT_EQ(form.text("Graph_Min(1)"), "-20");
    EXPECT_TRUE(form.visible("MinMax_CH1"));
    for (const char* hidden : {"MinMax_CH2", "MinMax_CH3", "Frame2", "Frame3"}) EXPECT_FALSE(form.visible(hidden)) << hidden;
    form.setText("Graph_Max(1)", "200");
    form.setText("Text1", "12");
    form.setChecked("CWButton1", false);
    form.click("CWButton1");
    form.click("Command1");

    ExpectKeys("SetScreensGraphInfo.ini", {{"PATTERN_Set", "MAX", "200"}, {"PATTERN_Set", "Min", "-20"},
                                           {"PATTERN_Set", "X_MAJOR", "12"}, {"PATTERN_Set", "Y_MAJOR", "4"}});
    EXPECT_TRUE(dir.read("SetScreensGraphInfo.ini").startsWith(before));
    EXPECT_FALSE(QFile::exists(dir.file("SetGraphInfo.ini")));
    EXPECT_FALSE(QFile::exists(dir.file("SetUserTag.ini")));
    EXPECT_EQ(GraphInfo[2].CurrentOrTargetSP, 1);
    EXPECT_EQ(PatternGraph.Max, 200);
    EXPECT_EQ(applied, 0);
}

// Guards a graph store that fails at the colours: logged, the chamber's keys written before it stay.
TEST_F(GraphForm, StoreFailureKeepsTheKeysWrittenBefore) {
    Block("SetGraphInfo.ini");
    GraphSetForm form(op);
    form.Form_Load();
    form.setText("Graph_Max(1)", "170");
    form.listClick("Combo1(2)", 2);
    form.click("Command1");
    EXPECT_EQ(dir.errorLog().count("modFunc.ReadDataGraph"), 1) << dir.errorLog().toStdString();
    ExpectKeys("SetScreensGraphInfo.ini", {{"Set_2", "MAX_2_1", "170"}, {"Set_2", "C_T_SP2", "1"}});
    ExpectKeys("SetUserTag.ini", {{"SDP_2", "2", "00/"}});
    EXPECT_FALSE(form.isOpen());
}

// Guards a panel without a chamber (the overview, or garbage): no frames, the store logs and writes nothing.
TEST_F(GraphForm, NoChamberOnThePanelStoresNothing) {
    for (const char* panel : {"0", "abc", "31"}) {
        StatusPanel2 = panel;
        GraphSetForm form(op);
        form.Form_Load();
        for (const char* frame : {"MinMax_CH1", "MinMax_CH2", "MinMax_CH3"}) EXPECT_FALSE(form.visible(frame)) << panel;
        form.setChecked("CWButton1", true);
        form.click("CWButton1");
        if (QString(panel) == "abc") form.setText("Graph_Max(1)", "99999");  // beyond 16 bits as well
        form.click("Command1");
        EXPECT_FALSE(form.isOpen());
    }
    EXPECT_EQ(dir.errorLog().count("Subscript out of rangemodFunc.ReadDataGraph"), 2) << dir.errorLog().toStdString();
    EXPECT_EQ(dir.errorLog().count("OverflowmodFunc.ReadDataGraph"), 1);
    EXPECT_FALSE(QFile::exists(dir.file("SetScreensGraphInfo.ini")));
}

namespace {

// Serves the event loop for `ms` milliseconds of real time.
void Spin(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

}  // namespace

// Guards the poll of an open form: its own timer walks the chambers, a failing tick is logged and the next
// runs; the close key stores nothing, stops the poll and hands it back to ReadComm once.
TEST_F(SettingsForms, OpenFormPollsUntilItCloses) {
    ManualClock clock;
    SetClock(&clock);
    qeltest::InstallFakeSerialPort();
    ChamberModel[0] = "QEL2000";
    MaxChamberNo = 1;
    OpenLink();
    int walks = 0;
    Hooks.pageRefresh = [&](int16_t) {
        if (++walks == 1) throw RuntimeError(err::Overflow);
    };
    int repaints = 0;
    DisplayForm form;
    form.setAfterTick([&] { ++repaints; });
    form.Form_Load();
    Spin(450);
    EXPECT_GE(walks, 3);
    EXPECT_GE(repaints, walks);  // a tick that met a walk under way repaints too
    EXPECT_EQ(dir.errorLog().count("OverflowMDIfrmMenu.ReadComm_Timer_Err"), 1);
    EXPECT_TRUE(switches.isEmpty()) << "the form does not start ReadComm while it polls";

    form.listClick("Combo1", 1);
    form.click("Command2");  // close: nothing written, yet the trace clicked stays in force
    EXPECT_FALSE(QFile::exists(dir.file("SetComm.ini")));
    EXPECT_EQ(CommDataSave, 1);
    const int atClose = walks;
    Spin(250);
    EXPECT_EQ(walks, atClose);
    EXPECT_EQ(switches, QStringList{"on"});
    RemoveLink();
}
