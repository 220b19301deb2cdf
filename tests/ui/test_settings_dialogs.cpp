// The display and graph settings dialogs offscreen: widgets found by their
// control names, edited with key and focus events, the store key pressed,
// and the settings files read back; boxes and the colour dialog answered
// from a timer. Last, both opened from the main window as the operator does.
#include "app_dir.h"
#include "app_folder.h"
#include "chamber_page.h"
#include "display_dialog.h"
#include "graph_set_dialog.h"
#include "language.h"
#include "link.h"
#include "main_window.h"
#include "profile.h"
#include "settings_state.h"
#include "state.h"
#include "station_hooks.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFocusEvent>
#include <QGroupBox>
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

class Dialogs : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
        Language = "ENG";
        LoadLanguage();
    }
    void TearDown() override {
        Hooks = StationHooks{};
        ResetSettingsState();
    }
    QString Read(const char* file, const char* section, const char* key) const {
        return ReadProfileString(section, key, "<absent>", 100, 100, dir.file(file));
    }
    qeltest::AppDir dir;
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

}  // namespace

// Guards the dialog's binding: every control has its widget under its name, a typed interval, a ticked key
// and the trace chosen land in SetComm.ini, and the dialog goes with its store key.
TEST_F(Dialogs, DisplayDialogStoresWhatWasEntered) {
    DisplayDialog dialog({});
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), Lang("MainForm", 8));
    for (const char* box : {"RunChkBtn", "StopChkBtn", "holdChkBtn", "advChkBtn", "DisChkBtn", "CWSound"})
        Find<QAbstractButton>(&dialog, box);
    EXPECT_EQ(Find<QGroupBox>(&dialog, "Frame3")->title(), Lang("DisplaySet", 10));
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

// Guards the graph dialog: the range warning as a warning box with the field reset, the colour dialog's
// choice in its label and file, the frames of a one-channel chamber, and the store.
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
    LeaveField(min);
    EXPECT_EQ(min->text(), "-30");

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

// Guards the wiring of the main window: toolbar key 8 and the page's setting key open the dialogs with the
// poll stopped; a language switch re-captions the frame; closing either starts the poll again.
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
