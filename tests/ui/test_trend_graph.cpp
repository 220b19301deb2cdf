// The trend graph offscreen: the points of the file across its rotation, the
// span and zoom keys, the read-out of the values under the mouse, the colour
// keys and a sample that cannot be written.
#include "app_dir.h"
#include "app_folder.h"
#include "graph_settings.h"
#include "language.h"
#include "chamber_page.h"
#include "chamber_page_widget.h"
#include "clock.h"
#include "page_controls.h"
#include "settings_state.h"
#include "state.h"
#include "trend_graph_widget.h"
#include "trend_points.h"
#include "trend_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <qcustomplot.h>

using namespace qel;

namespace {

class TrendGraph : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        ClearPageControls();
        ResetTrends();
        SetClock(&clock);
        ChamberModel[0] = "QEL2100";
        ChamberName[0] = "C1";
        Chamber[0].ChannelCount = 2;
        GraphInfo[1].Max = {200, 200, 200};
        GraphInfo[1].Min = {-50, -50, -50};
        page = std::make_unique<ChamberPage>(1, op);
        page->load();
        widget = std::make_unique<ChamberPageWidget>(*page);
        widget->resize(1600, 900);
        widget->show();
    }
    void TearDown() override {
        widget.reset();
        page.reset();
        ResetAllState();
        ResetSettingsState();
        ClearLanguageTables();
    }
    // n samples two seconds apart, the values moving with each.
    void samples(int n) {
        for (int i = 0; i < n; ++i, ++step) {
            Chamber[0].PV = {20 + (step % 500) / 10.0, 50 - (step % 300) / 10.0, 0};
            Chamber[0].SP = {30, 45.5, 0};
            Chamber[0].MV = {double(step % 100), 12.5, 0};
            clock.advanceMs(2000);
            page->trend().OperationGraph();
        }
    }
    qeltest::AppDir dir;
    ManualClock clock;
    ScriptedOperator op;
    std::unique_ptr<ChamberPage> page;
    std::unique_ptr<ChamberPageWidget> widget;
    int step = 0;
};

}  // namespace

// Guards the span combo, the zoom keys and the read-out of the time and values at a sample.
TEST_F(TrendGraph, SpanZoomAndReadout) {
    samples(5);
    widget->refresh();
    auto* span = widget->findChild<QComboBox*>("Combo1");
    ASSERT_NE(span, nullptr);
    span->setCurrentIndex(0);
    emit span->activated(0);
    QCPAxis* time = widget->graph()->axis(1);
    EXPECT_EQ(time->range().size(), 600);
    widget->findChild<QAbstractButton*>("UpDown_Zoom")->click();
    EXPECT_EQ(widget->graph()->plot()->selectionRectMode(), QCP::srmZoom);
    widget->findChild<QAbstractButton*>("Zoom_Cancel")->click();
    EXPECT_EQ(widget->graph()->plot()->selectionRectMode(), QCP::srmNone);

    const double t = widget->graph()->points(1).at(2).x();
    const QString readout = widget->graph()->readoutAt(t + 1);
    EXPECT_TRUE(readout.startsWith(QDateTime::fromSecsSinceEpoch(qint64(t)).toString("yyyy/MM/dd hh:mm:ss"))) << readout.toStdString();
    EXPECT_TRUE(readout.contains("PV1 20.2")) << readout.toStdString();
    EXPECT_TRUE(readout.contains("SP2 45.5"));
    EXPECT_FALSE(readout.contains("PV3"));
    EXPECT_TRUE(widget->graph()->readoutAt(t - 3600).isEmpty());
}

// Guards the graph against the file across the rotation at 50001: it shows exactly the points the file holds.
TEST_F(TrendGraph, ShowsThePointsOfTheFileAcrossTheRotation) {
    for (int n : {50001, 3}) {
        samples(n);
        widget->refresh();
        const auto file = qeltest::FilePoints(dir.file("1OPData.csv"), Trend(1).counter());
        for (int plot : {1, 3, 4, 6}) EXPECT_TRUE(widget->graph()->points(plot) == file[plot]) << plot;
    }
    EXPECT_EQ(widget->graph()->points(1).size(), 49004);
}

// Guards a colour key: plot, legend, axis and settings file take the colour; cancel changes nothing; the box hides it.
TEST_F(TrendGraph, ColourKeyWritesAtOnce) {
    TrendView& v = page->trend();
    op.colors = {};
    EXPECT_FALSE(v.chooseColor(4, op));
    op.colors = {0x0000FF};
    EXPECT_TRUE(v.chooseColor(4, op));
    EXPECT_EQ(v.plot(4).color, 0x0000FF);
    EXPECT_EQ(v.axis(4).color, 0x0000FF);
    EXPECT_EQ(PageControls(1).get("lblColor(4)").back, colors::kRed);
    EXPECT_TRUE(dir.read("SetScreensGraphInfo.ini").contains("COLOR_4_1=255"));
    PageControls(1).setValue("lblColor(4)", false);
    EXPECT_FALSE(v.plotShown(4));
    EXPECT_TRUE(v.plotShown(5));
}

// Guards the graph holding other than the file's rows after a week of samples; makes the README's picture.
TEST_F(TrendGraph, AWeekOfTrendPicture) {
    const QString pictures = qEnvironmentVariable("QEL_SCREENSHOT_DIR");
    if (pictures.isEmpty()) GTEST_SKIP() << "pictures only";
    FillFromDefaults(QStringLiteral(QEL_DEFAULT_APP), dir.path());
    Language = "ENG";
    LoadLanguage();
    ReadDataGraph(0);
    ChamberName[0] = "Humidity cabinet";
    ChamberUse[0] = "1";
    ChamberAddress[0] = "1";
    ChamberUnit[0][0] = "°C";
    ChamberUnit[1][0] = "%";
    Chamber[0].DP = {"0", "0", ""};
    Chamber[0].Status = {1, 1, 0};
    const double steps[][2] = {{-40, 30}, {-40, 30}, {85, 85}, {85, 85}, {150, 20}, {150, 20}, {25, 50}, {25, 50}};
    double pv[2] = {25, 50};
    for (int s = 0; s < 7 * 24 * 1800; ++s) {
        const int phase = (s / 900) % 16;  // half an hour a step
        for (int k = 0; k < 2; ++k) {
            const double target = steps[phase / 2][k];
            const double from = steps[(phase / 2 + 7) % 8][k];
            const double sp = phase % 2 == 0 ? from + (target - from) * (s % 900) / 900.0 : target;
            pv[k] += (sp - pv[k]) * 0.004 + 0.01 * std::sin(s / 37.0 + k);
            Chamber[0].SP[k] = std::round(sp * 10) / 10;
            Chamber[0].PV[k] = std::round(pv[k] * 10) / 10;
            Chamber[0].MV[k] = std::round(std::clamp(50 + (sp - pv[k]) * 4, 0.0, 100.0) * 10) / 10;
        }
        clock.advanceMs(2000);
        page->trend().OperationGraph();
    }
    page->load();  // captions, scales and colours of the shipped settings
    page->refresh();
    page->addHistoryRow("2026/11/23 09:00:00", "CH1    START RUN");
    widget->resize(1920, 1000);
    widget->refresh();
    QApplication::processEvents();
    EXPECT_EQ(widget->graph()->points(1).size(), Trend(1).shownRows());
    QDir().mkpath(pictures);
    widget->grab().save(pictures + "/page-trend-week.png");
}
