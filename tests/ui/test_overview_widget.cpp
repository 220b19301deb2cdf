#include "app_dir.h"
#include "overview_screen.h"
#include "overview_widget.h"
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
    void SetUp() override { ResetSettingsState(); }
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

// 30 cells on the smallest screen served: every cell visible inside the
// window, a 40-character name elided within its own cell.
TEST_F(OverviewWidgetTest, ThirtyCellsFitAt1366x768AndLongNamesStayInTheirCell) {
    ChamberName[6] = QString(40, 'W');
    OverviewScreen screen(5);
    Line(screen, 30, "QEL2400");
    OverviewWidget view(screen);
    Show(view, 1366, 768);

    ASSERT_EQ(view.cells(), 30);
    const auto rectOf = [&view](const QString& name) {
        QWidget* w = W(view, name);
        return QRect(w->mapTo(&view, QPoint(0, 0)), w->size());
    };
    for (int n = 1; n <= 30; ++n) {
        EXPECT_TRUE(W(view, Indexed("CH3", n))->isVisible()) << n;
        EXPECT_TRUE(view.rect().contains(rectOf(Indexed("CH3", n)))) << n;
        EXPECT_GE(rectOf(Indexed("PV_CH3_3", n)).height(), 20) << n;
    }
    EXPECT_TRUE(rectOf("CH3(7)").contains(rectOf("lbl_Chamber_Name_CH3(7)")));
    EXPECT_FALSE(rectOf("CH3(7)").intersects(rectOf("CH3(8)")));
    EXPECT_EQ(view.shownTexts(7).first(), "  [" + QString(40, 'W') + "]");
}

}  // namespace
