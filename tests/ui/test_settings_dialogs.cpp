// The display and graph settings offscreen: the dialogs' widgets found by
// their control names, edited with key and focus events, boxes and the colour
// dialog answered from a timer, both opened from the main window; and the
// forms behind them as data: what the store keys leave in the settings files
// (read back against key tables written here), a store that fails, and the
// poll that runs while a form is open.
#include "app_dir.h"
#include "app_folder.h"
#include "chamber_page.h"
#include "clock.h"
#include "display_dialog.h"
#include "display_form.h"
#include "fake_serial.h"
#include "graph_set_dialog.h"
#include "graph_set_form.h"
#include "language.h"
#include "link.h"
#include "main_window.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <functional>
#include <memory>
#include <gtest/gtest.h>

using namespace qel;

namespace {

struct Key {
    const char* section;
    const char* key;
    const char* value;
};

// The shipped folder for the dialogs; the forms start from a folder that holds only the language file, so
// that a file they should not write stays absent.
class Dialogs : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        Language = "ENG";
        LoadLanguage();
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
    qeltest::AppDir dir;
};

// Chamber 2 (a QEL2100) on display for the graph form.
class GraphForm : public Dialogs {
protected:
    void SetUp() override {
        ResetSettingsState();
        QFile::copy(QStringLiteral(QEL_DEFAULT_APP "/string-ren.xml"), dir.file("string-ren.xml"));
        Language = "ENG";
        LoadLanguage();
        ReadCommTimer.setEnabled = [this](bool on) { switches << (on ? "on" : "off"); };
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
    ScriptedOperator op;
    QStringList switches;
};

template <class T = QWidget>
T* Find(QWidget* dialog, const char* name) {
    T* w = dialog->findChild<T*>(QString::fromLatin1(name));
    EXPECT_NE(w, nullptr) << name;
    return w;
}

// Types into a field as the keyboard does: select all, then the keys.
void Type(QLineEdit* edit, const QString& text) {
    edit->selectAll();
    for (QChar c : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
        QApplication::sendEvent(edit, &press);
    }
}

void LeaveField(QWidget* edit) {
    QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
    QApplication::sendEvent(edit, &out);
}

// Answers the next modal window that `act` recognises (it returns true when
// it has dealt with it), from a timer while the caller's code waits in it.
// A window it does not know that stays for 5 s fails the test and is shut,
// so that a wrong box never hangs the run.
void AnswerModal(const std::function<bool(QWidget*)>& act) {
    auto* timer = new QTimer;
    auto ticks = std::make_shared<int>(0);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act, ticks] {
        QWidget* w = QApplication::activeModalWidget();
        if (w && act(w)) {
            timer->deleteLater();
        } else if (w && ++*ticks > 250) {
            ADD_FAILURE() << "unexpected window " << w->metaObject()->className() << " " << w->windowTitle().toStdString();
            if (auto* d = qobject_cast<QDialog*>(w)) d->reject();
            *ticks = 0;
        }
    });
    timer->start(20);
}

// Serves the event loop for `ms` milliseconds of real time.
void Spin(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

}  // namespace

// Guards the display dialog's binding: the settings shown, a letter refused, keys and trace stored in SetComm.ini.
TEST_F(Dialogs, DisplayDialogStoresWhatWasEntered) {
    DisplayDialog dialog({});
    dialog.show();
    EXPECT_EQ(Find<QComboBox>(&dialog, "Combo2")->currentText(), Lang("DisplaySet", 13));  // ENG

    QLineEdit* sampling = Find<QLineEdit>(&dialog, "GraphSampling");
    EXPECT_EQ(sampling->text(), "30");
    Type(sampling, "4x5");  // the letter is refused
    EXPECT_EQ(sampling->text(), "45");
    Find<QCheckBox>(&dialog, "holdChkBtn")->click();  // DisbuttonHold 0 -> 1
    QComboBox* trace = Find<QComboBox>(&dialog, "Combo1");
    QKeyEvent down(QEvent::KeyPress, Qt::Key_Down, Qt::NoModifier);
    QApplication::sendEvent(trace, &down);
    EXPECT_EQ(CommDataSave, 1);
    Find<QPushButton>(&dialog, "Command1")->click();

    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(Read("SetComm.ini", "FileSaveSec", "FileSave"), "45");
    EXPECT_EQ(Read("SetComm.ini", "ButtonSet", "DisbuttonHold"), "1");
    EXPECT_EQ(Read("SetComm.ini", "CommData", "CommDataSave"), "1");
    EXPECT_EQ(Read("SetComm.ini", "Language", "Language"), "ENG");
}

// Guards the graph dialog: the range warning box and reset, the colour dialog's choice, the frames, the store.
TEST_F(Dialogs, GraphDialogWarnsPicksAColourAndStores) {
    StatusPanel2 = "1";
    ChamberModel[0] = "QEL2000";
    GraphInfo[1].Max = {200, 200, 200};
    GraphInfo[1].Min = {-50, -50, -50};
    int applied = 0;
    GraphSetDialog dialog(0, [&] { ++applied; });
    dialog.show();
    EXPECT_FALSE(Find(&dialog, "MinMax_CH1")->isHidden());
    EXPECT_TRUE(Find(&dialog, "MinMax_CH2")->isHidden());

    QLineEdit* min = Find<QLineEdit>(&dialog, "Graph_Min(1)");
    Type(min, "250");
    QString said;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    AnswerModal([&](QWidget* w) {
        auto* box = qobject_cast<QMessageBox*>(w);
        if (!box) return false;
        said = box->text();
        icon = box->icon();
        box->accept();
        return true;
    });
    LeaveField(min);
    EXPECT_EQ(said, Lang("GraphSetting", 3) + "/" + Lang("GraphSetting", 4) + " Error");
    EXPECT_EQ(icon, QMessageBox::Warning);
    EXPECT_EQ(min->text(), "0");

    Type(Find<QLineEdit>(&dialog, "Graph_Max(1)"), "-20");
    Type(min, "-30");  // a negative minimum below a negative maximum passes

    AnswerModal([](QWidget* w) {
        auto* colors = qobject_cast<QColorDialog*>(w);
        if (!colors) return false;
        colors->setCurrentColor(QColor(0x40, 0x80, 0xFF));
        colors->accept();
        return true;
    });
    Find<QPushButton>(&dialog, "cmd_BackColor")->click();
    EXPECT_EQ(Find<QLabel>(&dialog, "lbl_BackColor")->text(), "16744512");  // 0x00FF8040
    Find<QAbstractButton>(&dialog, "CWButton1")->click();
    EXPECT_EQ(GraphInfo[1].CurrentOrTargetSP, 1);
    Find<QPushButton>(&dialog, "Command1")->click();

    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(Read("SetGraphInfo.ini", "Line", "BackColor"), "16744512");
    EXPECT_EQ(Read("SetScreensGraphInfo.ini", "Set_1", "Min_1_1"), "-30");
    EXPECT_EQ(Read("SetScreensGraphInfo.ini", "Set_1", "MAX_1_1"), "-20");
    EXPECT_EQ(Read("SetScreensGraphInfo.ini", "Set_1", "C_T_SP1"), "1");
    EXPECT_EQ(applied, 1);
}

// Guards the main window opening both dialogs with the poll stopped, the language switch, the poll back after.
TEST_F(Dialogs, MainWindowOpensBothWithThePollHandedOver) {
    WriteProfileString("Set", "MAX_CHAMBER_NO", "1", dir.file("SetUserTag.ini"));
    {
        MainWindow window;
        window.frame().load();
        ASSERT_TRUE(window.frame().readComm().isActive());
        const QString english = window.windowTitle();

        bool stoppedWhileOpen = true;
        AnswerModal([&](QWidget* w) {
            auto* display = qobject_cast<DisplayDialog*>(w);
            if (!display) return false;
            stoppedWhileOpen = !window.frame().readComm().isActive() && display->form().polling();
            display->form().listClick("Combo2", 0);  // Korean
            Find<QPushButton>(display, "Command1")->click();
            return true;
        });
        window.frame().toolbarClick(8);
        EXPECT_TRUE(stoppedWhileOpen);
        EXPECT_TRUE(window.frame().readComm().isActive());
        EXPECT_EQ(Language, "KOR");
        EXPECT_EQ(window.windowTitle(), Lang("MainForm", 1));
        EXPECT_NE(window.windowTitle(), english);

        window.showPage(1);
        AnswerModal([&](QWidget* w) {
            auto* graph = qobject_cast<GraphSetDialog*>(w);
            if (!graph) return false;
            stoppedWhileOpen = !window.frame().readComm().isActive() && graph->form().chamber() == 1;
            graph->reject();  // the window's close key
            return true;
        });
        window.frame().screens().page(1)->click("Setting");
        EXPECT_TRUE(stoppedWhileOpen);
        EXPECT_TRUE(window.frame().readComm().isActive());
    }
    RemoveLink();
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
    QDir().mkpath(dir.file("SetGraphInfo.ini"));  // a folder where the file should be: the write fails
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
        EXPECT_FALSE(form.visible("MinMax_CH1")) << panel;
        if (QString(panel) == "abc") form.setText("Graph_Max(1)", "99999");  // beyond 16 bits as well
        form.click("Command1");
        EXPECT_FALSE(form.isOpen());
    }
    EXPECT_EQ(dir.errorLog().count("Subscript out of rangemodFunc.ReadDataGraph"), 2) << dir.errorLog().toStdString();
    EXPECT_EQ(dir.errorLog().count("OverflowmodFunc.ReadDataGraph"), 1);
    EXPECT_FALSE(QFile::exists(dir.file("SetScreensGraphInfo.ini")));
}

// Guards the poll of an open form: its walks, a failing tick logged; closing stores nothing and hands the poll back.
TEST_F(GraphForm, OpenFormPollsUntilItCloses) {
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
