// The overview as the operator sees it: cells, texts and colours as painted,
// clicks; and the screen logic's grid by chamber count and a chamber number
// outside the table.
#include "app_dir.h"
#include "overview_screen.h"
#include "overview_widget.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <algorithm>
#include <gtest/gtest.h>
#include <span>

using namespace qel;

namespace {

class OverviewWidgetTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        MaxChamberNo = 4;
    }
    void TearDown() override { ResetSettingsState(); }

    // Chambers 1..count of `model`, alive, loaded and polled on `screen`.
    static void Line(OverviewScreen& screen, int count, const char* model) {
        MaxChamberNo = static_cast<int16_t>(count);
        for (int i = 0; i < count; ++i) {
            if (ChamberModel[i].isEmpty()) ChamberModel[i] = model;
            if (ChamberName[i] == "1") ChamberName[i] = QString("Oven %1").arg(i + 1);
            ChamberAddress[i] = "0";
            Chamber[i].PV = {25, 50, 75}, Chamber[i].SP = {30, 60, 80}, Chamber[i].MV = {40, 41, 42};
        }
        screen.Form_Load();
        for (int16_t n = 1; n <= count; ++n) screen.ReadComm(n);
    }
    static void Show(QWidget& view, int width, int height) {
        view.resize(width, height);
        view.show();
        QApplication::processEvents();
    }
    static QWidget* W(const QWidget& root, const QString& name) { return root.findChild<QWidget*>(name); }
    // What the widget paints: the colour at (1, 1), and whether a colour occurs anywhere.
    static QColor Corner(QWidget* w) { return w->grab().toImage().pixelColor(1, 1); }
    static bool Paints(QWidget* w, QRgb c) {
        const QImage img = w->grab().toImage().convertToFormat(QImage::Format_RGB32);
        return std::ranges::count(std::span(reinterpret_cast<const QRgb*>(img.constBits()), img.sizeInBytes() / 4), c) > 0;
    }
    static void Press(QWidget* w, QEvent::Type type) {
        const QPointF at(w->width() / 2.0, w->height() / 2.0);
        QMouseEvent e(type, at, w->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(w, &e);
    }

    qeltest::AppDir dir;
};

// Guards a cell's texts and colours as painted (alive, lost, unused, broken sensor) and clicks that select or open.
TEST_F(OverviewWidgetTest, ShowsWhatTheScreenComputedAndClicksSelect) {
    ChamberModel[0] = "QEL2000";
    CommError[1] = -1;
    Chamber[2].PVStat[0] = 2;
    ChamberUse[3] = "0";
    OverviewScreen screen(1);
    Line(screen, 4, "QEL2300");
    OverviewWidget view(screen);
    Show(view, 800, 600);

    ASSERT_EQ(view.cells(), 4);
    EXPECT_FALSE(W(view, "CH1(1)")->isHidden());
    EXPECT_TRUE(W(view, "CH3(1)")->isHidden());
    EXPECT_FALSE(W(view, "CH3(2)")->isHidden());
    EXPECT_EQ(view.shownTexts(1), (QStringList{"  [Oven 1]", "25", "30", "40.0"}));
    EXPECT_EQ(view.shownTexts(3), (QStringList{"  [Oven 3]", "[CH1]", "B.OUT", "30", "40.0", "[CH2]", "50", "60", "41.0",
                                               "[CH3]", "75", "80", "42.0"}));
    EXPECT_EQ(view.shownTexts(2).mid(2, 3), QStringList(3, "-.-"));
    EXPECT_EQ(view.shownTexts(5), QStringList());
    // Alive, lost and unused backgrounds, and a broken sensor's fore colour, as painted.
    EXPECT_EQ(Corner(W(view, "lbl_Chamber_Name_CH1(1)")), QColor(0, 0, 128));
    EXPECT_EQ(Corner(W(view, "frm_CH1(1)")), QColor(0, 0, 32));
    EXPECT_EQ(Corner(W(view, "lbl_Chamber_Name_CH3(2)")), QColor(255, 0, 0));
    EXPECT_EQ(Corner(W(view, "frm_CH3(4)")), QColor(192, 192, 192));
    EXPECT_TRUE(Paints(W(view, "PV_CH3_1(3)"), qRgb(255, 255, 0)));

    QList<int> selected, pages;
    QObject::connect(&view, &OverviewWidget::chamberSelected, [&](int n) { selected << n; });
    QObject::connect(&view, &OverviewWidget::pageRequested, [&](int n) { pages << n; });
    Press(W(view, "PV_CH3_2(3)"), QEvent::MouseButtonPress);
    EXPECT_EQ(selected, QList<int>{3});
    EXPECT_EQ(StatusPanel2, "3");
    EXPECT_EQ(Corner(W(view, "CH3(3)")), QColor(255, 0, 0));
    EXPECT_NE(Corner(W(view, "CH3(2)")), QColor(255, 0, 0));
    Press(W(view, "lbl_Chamber_Name_CH3(2)"), QEvent::MouseButtonDblClick);
    EXPECT_EQ(pages, QList<int>{2});
}

// Guards the grid by the chamber count (1, 2 x 2 ... 6 x 5), and a screen not in use losing its full grid.
TEST_F(OverviewWidgetTest, CellsFollowTheChamberCount) {
    const int rows[][2] = {{-1, 1}, {0, 1},   {1, 1},   {2, 4},   {4, 4},   {5, 9},   {9, 9},
                           {10, 16}, {16, 16}, {17, 25}, {25, 25}, {26, 30}, {30, 30}, {31, 4}};  // 31: screen 1
    for (const auto& r : rows) EXPECT_EQ(OverviewCellsFor(r[0]), r[1]) << r[0];
    MaxChamberNo = 7;  // screen 2 in use; the others keep their full grid
    const int cells[] = {4, 9, 16, 25, 30};
    for (int screen = 1; screen <= 5; ++screen) EXPECT_EQ(OverviewScreen(screen).cellCount(), cells[screen - 1]);
}

// Guards a chamber outside 1..30 in the refresh: logged, nothing changed, nothing thrown; the load raises it.
TEST_F(OverviewWidgetTest, ChamberOutOfRangeIsLoggedNotThrown) {
    OverviewScreen s(1);
    const uint64_t before = s.controls().revision();
    for (int16_t n : {int16_t(0), int16_t(31), int16_t(-1), int16_t(9) /* no cell: silent */}) EXPECT_NO_THROW(s.ReadComm(n));
    EXPECT_EQ(s.controls().revision(), before);
    EXPECT_EQ(dir.errorLog().count("Subscript out of rangefrmMenu.ReadComm_Notify_Err"), 3);
    EXPECT_THROW(s.SetOverviewCells(0, 1), RuntimeError);
}

}  // namespace
