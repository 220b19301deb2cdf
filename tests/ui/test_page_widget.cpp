// The chamber page's widgets show what the page's controls hold: every
// control the page names has its widget in its frame; captions, colours,
// visibility and key states appear; clicks reach the page; the history grid
// keeps its blank last row; long texts stay inside their fields.
#include "app_dir.h"
#include "chamber_page.h"
#include "chamber_page_widget.h"
#include "page_controls.h"
#include "page_parts.h"
#include "state.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFrame>
#include <QImage>
#include <QMouseEvent>
#include <QTableWidget>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class PageWidget : public ::testing::Test {
protected:
    PageWidget() {
        widget.resize(1880, 940);
        widget.show();
        settle();
    }
    ~PageWidget() override { ResetAllState(); }

    ControlSet& set() { return page.controls(); }
    template <class T = QWidget>
    T* at(const QString& name) {
        return widget.findChild<T*>(name);
    }
    void settle() {
        widget.refresh();
        for (int i = 0; i < 3; ++i) QApplication::processEvents();
    }
    // Shows one of the stacked layouts, the others hidden.
    void showOnly(const QString& frame) {
        for (const char* f : {"QEL2000", "QEL2100", "QEL2200", "QEL2300", "QEL2400", "Full_Channel", "Frame10"})
            set().setVisible(QString::fromLatin1(f), frame == QLatin1String(f));
        settle();
    }
    // The colour a widget paints just inside its left edge, half-way down.
    QColor backOf(QWidget* w) { return w->grab().toImage().pixelColor(3, w->height() / 2); }

    ScriptedOperator op;
    ChamberPage page{1, op};
    ChamberPageWidget widget{page};
};

QStringList Words(const char* text) { return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts); }

}  // namespace

// Every control of every layout must have its widget, of the right kind,
// inside the frame that the logic hides and shows; one missing or misplaced
// widget leaves a value or key the operator never sees.
TEST_F(PageWidget, EveryControlHasItsWidgetInItsFrame) {
    struct Where {
        QString name, frame;  // frame "": anywhere on the page
        char kind;            // L label, K key, F frame
    };
    QList<Where> table;
    const char* const familyFrames[] = {"QEL2000", "QEL2100", "QEL2400"};
    const char* const familyLamps[] = {"Status_Lamp2000", "Status_Lamp2100", "Status_Lamp2400"};
    for (int ch = 1; ch <= 3; ++ch) {
        const QString frame = QString::fromLatin1(familyFrames[ch - 1]);
        for (const QString& b : Words("PV SP MV UNIT PTNo PT_RPT SEG_RPT PID_No Run_Time SEG_Time Start_Time End_Time "
                                      "lblFileName lbl_Chamber_Name Operation lbl_PV lbl_SP lbl_MV lbl_PTNo lbl_PTRPT "
                                      "lbl_SegRPT lbl_PIDNo lbl_RunTime lbl_SegTime lbl_StartTime lbl_EndTime"))
            table.append({Indexed(b + "2000", ch), frame, 'L'});
        for (const QString& b : Words("RUN_Stop_Key HOLD_Key STEP_Key USER_Key PT_Graph_Key Record_Key"))
            table.append({Indexed(b + "2000", ch), frame, 'K'});
        for (const QString& b : Words("Status_Lamp_ONOFF Change_Ch1 Change_Ch2 Change_Ch3"))
            table.append({Indexed(b, ch), frame, 'K'});
        for (int lamp : {1, 105}) table.append({Indexed(familyLamps[ch - 1], lamp), frame, 'L'});
        for (const QString& b : Words("Full_PV Full_SP Full_MV Full_UNIT Full_lbl_SP Full_lbl_MV Full_Chamber_Name"))
            table.append({Indexed(b, ch), "Full_Channel", 'L'});
        table.append({Indexed("Full_Ch", ch), "Full_Channel", 'K'});
    }
    for (const auto& [digits, channels] : {std::pair{"2200", 2}, std::pair{"2300", 3}}) {
        const QString frame = QStringLiteral("QEL") + digits;
        for (int ch = 1; ch <= channels; ++ch)
            for (const QString& b : Words("PV SP MV UNIT lbl_PV lbl_SP lbl_MV"))
                table.append({Indexed(b + digits, ch), frame, 'L'});
        for (const QString& b : Words("PTNo PT_RPT PID_No Run_Time SEG_Time Start_Time End_Time lblFileName "
                                      "lbl_Chamber_Name lbl_PTNo lbl_PTRPT lbl_PIDNo lbl_RunTime lbl_SegTime "
                                      "lbl_StartTime lbl_EndTime"))
            table.append({b + digits, frame, 'L'});
        for (const QString& b : Words("RUN_Stop_Key HOLD_Key STEP_Key USER_Key PT_Graph_Key Record_Key"))
            table.append({b + digits, frame, 'K'});
        for (int lamp : {1, 105}) table.append({Indexed("Status_Lamp" + QString(digits), lamp), frame, 'L'});
    }
    table.append({"Operation2200", "QEL2200", 'L'});
    // The QEL2300's rooms: the exposure room Frame36(3) is channel 2.
    for (const auto& [frame, ch] : {std::pair{"Frame36(1)", 1}, std::pair{"Frame36(3)", 2}, std::pair{"Frame36(2)", 3}}) {
        table.append({frame, "QEL2300", 'F'});
        for (const QString& b : Words("PV2300 SP2300 MV2300")) table.append({Indexed(b, ch), frame, 'L'});
    }
    for (int k = 1; k <= 32; ++k) table.append({Indexed("txtDIName", k), k <= 16 ? "Frame10" : "Frame11", 'L'});
    table.append({"Frame11", "Frame10", 'F'});
    table.append({"Command6", "Frame10", 'K'});
    for (int i = 1; i <= 2; ++i) table.append({Indexed("HCMV", i), "frmHC", 'L'});
    table.append({"lbl_HCMV", "frmHC", 'L'});
    for (int i = 1; i <= 9; ++i) {
        table.append({Indexed("lblColor", i), "", 'L'});
        table.append({Indexed("ButtColor", i), "", 'K'});
    }
    for (const char* f : {"Frame2", "Frame3", "frmHC", "CWGraph1"}) table.append({f, "", 'F'});
    for (const char* k : {"Command7(1)", "Setting"}) table.append({k, "", 'K'});

    for (const Where& w : table) {
        SCOPED_TRACE(w.name.toStdString());
        QWidget* found = at(w.name);
        ASSERT_NE(found, nullptr);
        const bool kind = w.kind == 'L'   ? qobject_cast<QLabel*>(found) != nullptr
                          : w.kind == 'K' ? qobject_cast<QAbstractButton*>(found) != nullptr
                                          : qobject_cast<QFrame*>(found) != nullptr;
        EXPECT_TRUE(kind);
        EXPECT_TRUE(w.frame.isEmpty() || at(w.frame)->isAncestorOf(found)) << "not in " << w.frame.toStdString();
    }
    EXPECT_NE(at<QTableWidget>("Status_History"), nullptr);
}

// Caption, fore and back colour and visibility reach the widget; a control
// without a widget is ignored.
TEST_F(PageWidget, CaptionColourAndVisibilityShow) {
    struct Row {
        const char* frame;
        const char* name;
        const char* caption;
        Color fore, back;
    };
    const Row rows[] = {
        {"QEL2000", "PV2000(1)", "B.OUT", colors::kYellow, {}},
        {"QEL2000", "PV2000(1)", "-OVER", colors::kBlue, {}},
        {"QEL2200", "PV2200(2)", "----", colors::kCyan, {}},
        {"QEL2200", "lbl_Chamber_Name2200", "  [Oven]  COMM ERROR", {}, colors::kRed},
        {"QEL2300", "MV2300(2)", "45.0", {}, Color::rgb(255, 51, 153)},
        {"QEL2300", "Status_Lamp2300(5)", "IS 5", {}, colors::kRed},
        {"QEL2100", "Status_Lamp2100(104)", "D0 32", {}, colors::kBlack},
        {"Full_Channel", "Full_PV(2)", "-.-", colors::kWhite, {}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        showOnly(r.frame);
        set().setCaption(r.name, r.caption);
        set().setVisible(r.name, true);
        if (r.fore.isSet()) set().setFore(r.name, r.fore);
        if (r.back.isSet()) set().setBack(r.name, r.back);
        settle();
        auto* l = at<PageLabel>(r.name);
        ASSERT_NE(l, nullptr);
        EXPECT_EQ(l->text(), r.caption);
        EXPECT_TRUE(l->isVisible());
        if (r.fore.isSet()) {
            EXPECT_EQ(l->palette().color(l->foregroundRole()), ToQColor(r.fore));
        }
        if (r.back.isSet()) {
            EXPECT_EQ(backOf(l), ToQColor(r.back));
        }
        set().setVisible(r.name, false);
        settle();
        EXPECT_TRUE(l->isHidden());
    }
    set().setCaption("Full_PV_CH2(1)", "20.0");  // no widget stands for it
    set().setCaption("", "x");
    settle();
}

// A hidden lamp takes no place: the shown ones fill the field from the top
// left, whatever their numbers.
TEST_F(PageWidget, HiddenLampsTakeNoPlace) {
    showOnly("QEL2000");
    for (int i : {1, 2, 40}) set().setVisible(Indexed("Status_Lamp2000", i), true);
    settle();
    QWidget* first = at(Indexed("Status_Lamp2000", 1));
    QWidget* far = at(Indexed("Status_Lamp2000", 40));
    EXPECT_EQ(far->y(), first->y());
    EXPECT_LT(far->x(), 4 * first->width());
    EXPECT_GT(first->width(), 0);
}

// The two-state keys show the logic's value; Qt's own toggle on a click
// must not change it (here the click is ignored: no model in use).
TEST_F(PageWidget, TwoStateKeysShowTheLogicsValueOnly) {
    for (const char* name : {"RUN_Stop_Key2000(1)", "HOLD_Key2000(1)", "USER_Key2000(1)"}) {
        SCOPED_TRACE(name);
        auto* key = at<QAbstractButton>(name);
        for (bool value : {true, false}) {
            set().setValue(name, value);
            settle();
            EXPECT_EQ(key->isChecked(), value);
            key->click();
            settle();
            EXPECT_EQ(key->isChecked(), value);
        }
    }
    // The run key tells running (red, its value false) from standing (green).
    auto* run = at<QAbstractButton>("RUN_Stop_Key2000(1)");
    const QColor running = run->grab().toImage().pixelColor(run->width() / 2, 3);
    set().setValue("RUN_Stop_Key2000(1)", true);
    settle();
    const QColor standing = run->grab().toImage().pixelColor(run->width() / 2, 3);
    EXPECT_GT(running.red(), running.green());
    EXPECT_GT(standing.green(), standing.red());
}

// Keys and clickable labels hand their name to the page logic.
TEST_F(PageWidget, ClicksReachThePage) {
    ChamberModel[0] = "QEL2100";
    page.Dis_Screens();
    settle();
    auto* history = at<QTableWidget>("Status_History");
    at<QAbstractButton>("Record_Key2000(1)")->click();
    EXPECT_TRUE(history->isHidden());
    at<QAbstractButton>("Full_Ch(2)")->click();
    EXPECT_TRUE(at("Full_Channel")->isHidden());
    EXPECT_FALSE(at("QEL2100")->isHidden());
    EXPECT_EQ(StatusPanel3, "2");

    QLabel* unit = at<QLabel>("UNIT2000(2)");
    const QPointF mid(unit->width() / 2.0, unit->height() / 2.0);
    QMouseEvent press(QEvent::MouseButtonPress, mid, unit->mapToGlobal(mid), Qt::LeftButton, Qt::LeftButton, {});
    QMouseEvent release(QEvent::MouseButtonRelease, mid, unit->mapToGlobal(mid), Qt::LeftButton, {}, {});
    QApplication::sendEvent(unit, &press);
    QApplication::sendEvent(unit, &release);
    ASSERT_EQ(op.asked.size(), 1);
    EXPECT_TRUE(op.asked[0].startsWith("input|"));  // cancelled: the unit stays
}

// New rows are appended above the one blank last row, the old rows stay
// as they were; odd texts are shown as they come.
TEST_F(PageWidget, HistoryAppendsAboveABlankLastRow) {
    auto* grid = at<QTableWidget>("Status_History");
    auto cell = [&](int r, int c) { return grid->item(r, c) ? grid->item(r, c)->text() : QString(); };
    EXPECT_EQ(grid->rowCount(), 1);
    page.addHistoryRow("2024/05/01 10:00:00", "    START RUN");
    page.addHistoryRow("2024/05/01 10:05:00", "START HOLD");
    settle();
    ASSERT_EQ(grid->rowCount(), 3);
    EXPECT_EQ(cell(0, 0), "2024/05/01 10:00:00");
    EXPECT_EQ(cell(0, 1), "    START RUN");
    EXPECT_EQ(cell(1, 1), "START HOLD");
    EXPECT_EQ(cell(2, 0) + cell(2, 1), "");
    QTableWidgetItem* kept = grid->item(0, 1);
    page.addHistoryRow("", QString(5000, u'x'));
    settle();
    ASSERT_EQ(grid->rowCount(), 4);
    EXPECT_EQ(grid->item(0, 1), kept);
    EXPECT_EQ(cell(2, 1).size(), 5000);
    EXPECT_EQ(cell(3, 0) + cell(3, 1), "");
}

// A 40-character name and a 12-digit value stay whole and inside their
// fields at 1366x768, and the PV is large at 1920x1080; every key shown is
// inside the page.
TEST_F(PageWidget, LongTextsAndKeysFitTheScreen) {
    showOnly("QEL2000");
    set().setCaption("PV2000(1)", "25.0");
    settle();
    EXPECT_GE(at<PageLabel>("PV2000(1)")->visibleFont().pixelSize(), 48);

    widget.resize(1366, 768);
    const QString name = "  [" + QString(40, u'W') + "]  PROGRAM RUN";
    set().setCaption("lbl_Chamber_Name2000(1)", name);
    set().setCaption("PV2000(1)", "123456789012");
    set().setCaption("UNIT2000(1)", "%RH");
    for (QAbstractButton* k : widget.findChildren<QAbstractButton*>()) set().setCaption(k->objectName(), "PATTERN GRAPH");
    for (const char* frame : {"QEL2000", "QEL2200", "QEL2300", "Full_Channel", "Frame10"}) {
        SCOPED_TRACE(frame);
        showOnly(frame);
        for (QAbstractButton* k : widget.findChildren<QAbstractButton*>()) {
            if (!k->isVisibleTo(&widget)) continue;
            const QRect r(k->mapTo(&widget, QPoint(0, 0)), k->size());
            EXPECT_TRUE(widget.rect().contains(r) && !r.isEmpty()) << k->objectName().toStdString();
        }
    }
    showOnly("QEL2000");
    for (const char* n : {"lbl_Chamber_Name2000(1)", "PV2000(1)"}) {
        auto* l = at<PageLabel>(n);
        EXPECT_EQ(l->visibleText(), l->text()) << n;
        for (QWidget* other : l->parentWidget()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            EXPECT_TRUE(other == l || !other->isVisible() || !other->geometry().intersects(l->geometry())) << n;
    }
}
