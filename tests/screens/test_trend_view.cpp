// The trend graph as data: which plot a model draws on which axis (the table
// is written here), the span, the zoom, the colour keys and a sample that
// cannot be written.
#include "app_dir.h"
#include "clock.h"
#include "graph_settings.h"
#include "page_controls.h"
#include "profile.h"
#include "settings_state.h"
#include "state.h"
#include "trend_view.h"

#include <QDir>
#include <gtest/gtest.h>

using namespace qel;

namespace {

class Trend : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettingsState();
        ClearPageControls();
        ResetTrends();
        SetClock(&clock);
        GraphInfo[1].Min = {-50, -40, -30};
        GraphInfo[1].Max = {200, 100, 90};
        for (int i = 0; i < 9; ++i) GraphInfo[1].Color[i] = 0x10 * (i + 1);
    }
    void TearDown() override {
        ResetSettingsState();
        ClearPageControls();
    }
    TrendView made(const char* model, const char* variant = "0") {
        ChamberModel[0] = model;
        ChamberVariant[0] = variant;
        TrendView v(1);
        v.setUp();
        return v;
    }
    qeltest::AppDir dir;
    ManualClock clock;
};

}  // namespace

// Guards the plot-to-axis table and the plots each model draws: plots 1, 2
// on the first value axis (2), 3, 6, 9 on the MV axis (3), 4, 5 and 7, 8 by
// model; the further axes show only when a drawn plot is on them.
TEST_F(Trend, PlotsAndAxesByModel) {
    const struct {
        const char* model;
        const char* variant;
        const char* used;  // plots 1..9, '1' drawn
        int axis4, axis7;  // the axes of plots 4/5 and 7/8 when drawn
        bool shows4, shows5;
    } rows[] = {
        {"QEL2000", "0", "111000000", 0, 0, false, false},
        {"QEL2000", "1", "111001000", 0, 0, false, false},
        {"QEL2100", "0", "111111000", 4, 0, true, false},
        {"QEL2200", "0", "111111000", 3, 0, false, false},
        {"QEL2300", "0", "111111111", 2, 2, false, false},
        {"QEL2400", "0", "111111111", 4, 5, true, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(std::string(r.model) + " " + r.variant);
        TrendView v = made(r.model, r.variant);
        for (int i = 1; i <= 9; ++i) EXPECT_EQ(v.plot(i).used, r.used[i - 1] == '1') << i;
        for (int i : {1, 2}) EXPECT_EQ(v.plot(i).axis, 2);
        for (int i : {3, 6, 9}) EXPECT_EQ(v.plot(i).axis, 3);
        if (r.axis4) {
            EXPECT_EQ(v.plot(4).axis, r.axis4);
        }
        if (r.axis7) {
            EXPECT_EQ(v.plot(7).axis, r.axis7);
        }
        EXPECT_EQ(v.axis(4).visible, r.shows4);
        EXPECT_EQ(v.axis(5).visible, r.shows5);
    }
    TrendView hc = made("QEL2000", "1");
    EXPECT_EQ(hc.plot(5).axis, 2);  // a heat-cool QEL2000's plot 5 goes with channel 1
}

// Guards the scales and colours from the settings, the span list, and that
// a sample moves the time axis to end at now unless the zoom holds it.
TEST_F(Trend, SpanZoomAndScales) {
    TrendView v = made("QEL2400");
    EXPECT_EQ(v.axis(2).min, -50);
    EXPECT_EQ(v.axis(4).max, 100);
    EXPECT_EQ(v.axis(5).min, -30);
    EXPECT_EQ(v.axis(2).color, 0x10);  // plot 1's colour
    EXPECT_EQ(v.axis(5).color, 0x70);  // plot 7's
    EXPECT_TRUE(v.axis(5).caption.contains(" CH3 "));
    const int minutes[] = {10, 30, 60, 180, 360, 720, 1440, 1440};
    for (int i = -1; i <= 7; ++i) EXPECT_EQ(SpanMinutes(i), minutes[i < 0 ? 7 : i]) << i;

    const double now = static_cast<double>(Now().toSecsSinceEpoch());
    v.setSpan(0);
    EXPECT_EQ(v.axis(1).max - v.axis(1).min, 600);
    v.zoomOn();
    std::array<std::pair<double, double>, 6> r{};
    r[2] = {0, 10};
    r[3] = {5, 6};
    v.zoomTo(now - 100, now - 50, r);
    clock.advanceMs(60000);
    v.OperationGraph();
    EXPECT_EQ(v.axis(1).max, now - 50);  // held by the zoom
    EXPECT_EQ(v.axis(2).max, 10);
    v.zoomCancel();
    EXPECT_EQ(v.axis(2).min, -50);
    EXPECT_EQ(v.axis(3).max, 100);
    EXPECT_EQ(v.axis(1).max, now + 60);
    EXPECT_FALSE(v.zooming());
}

// Guards a colour key: the plot, its legend, the axis it stands for and the
// settings file take the colour; cancelling changes nothing.
TEST_F(Trend, ColourKeyWritesAtOnce) {
    TrendView v = made("QEL2100");
    ScriptedOperator op;
    EXPECT_FALSE(v.chooseColor(4, op));
    op.colors = {0x0000FF};
    EXPECT_TRUE(v.chooseColor(4, op));
    EXPECT_EQ(v.plot(4).color, 0x0000FF);
    EXPECT_EQ(v.axis(4).color, 0x0000FF);
    EXPECT_EQ(PageControls(1).get("lblColor(4)").back, colors::kRed);
    EXPECT_TRUE(dir.read("SetScreensGraphInfo.ini").contains("COLOR_4_1=255"));
    PageControls(1).setValue("lblColor(4)", false);  // its check box off: not drawn
    EXPECT_FALSE(v.plotShown(4));
    EXPECT_TRUE(v.plotShown(5));
}

// Guards a sample that cannot be written: one error-log line under the
// routine's name, and the next sample is written.
TEST_F(Trend, ASampleThatCannotBeWrittenIsLogged) {
    TrendView v = made("QEL2000");
    QDir().mkpath(dir.file("1OPData.csv"));
    v.OperationGraph();
    EXPECT_TRUE(dir.errorLog().contains("modCommControl.Operation_Graph")) << dir.errorLog().toStdString();
    QDir().rmdir(dir.file("1OPData.csv"));
    v.OperationGraph();
    v.rows();
    EXPECT_EQ(v.shownRows(), 1);
    EXPECT_EQ(qel::Trend(1).counter(), 2);
}

// Guards lines that are no samples: left out of the graph, and said once in
// the error log however often the graph reads the file.
TEST_F(Trend, LinesThatAreNoSamplesAreSaidOnce) {
    TrendView v = made("QEL2000");
    v.OperationGraph();
    dir.write("1OPData.csv", dir.read("1OPData.csv") + "garbage\r\n");
    v.OperationGraph();
    for (int i = 0; i < 3; ++i) v.rows();
    EXPECT_EQ(v.shownRows(), 2);  // the counter counts two samples: the first two lines, the garbage one of them
    EXPECT_EQ(dir.errorLog().count("Type mismatchmodCommControl.Operation_Graph"), 1) << dir.errorLog().toStdString();
}
