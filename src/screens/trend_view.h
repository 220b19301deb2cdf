// CWGraph1, the trend graph of a chamber page, as data and behaviour: the
// time span, the five axes with their scales and colours, which plot goes to
// which axis, the zoom, the legend's colour keys, and Operation_Graph, which
// adds a sample to the trend file and moves the time axis on. The widget
// draws what this holds; the headless station keeps the file the same way
// and draws nothing.
#pragma once

#include "operator.h"
#include "trend_file.h"

#include <QDateTime>
#include <QString>
#include <array>
#include <cstdint>

namespace qel {

// Axes(1) the time, Axes(2) the first value axis, Axes(3) MV, Axes(4) and
// Axes(5) the further value axes; index 0 unused.
struct TrendAxis {
    bool visible = false;
    double min = 0;
    double max = 100;
    int32_t color = 0xFFFFFF;  // ticks, labels and caption, 0x00BBGGRR
    int divisions = 5;
    QString caption;
};

struct TrendPlot {
    bool used = false;  // drawn at all for the model
    int axis = 2;       // 2 to 5
    int32_t color = 0;
};

// The span list of Combo1 in minutes, by list index; 1440 outside 0 to 6.
int SpanMinutes(int listIndex);

class TrendView {
public:
    static constexpr int kSpans = 7;

    explicit TrendView(int16_t chamber);

    // The axes, plots and colours from the chamber's graph settings (the
    // page's Dis_Screens); the span starts at a day.
    void setUp();

    // One sample: the line goes into the trend file and the time axis ends
    // at now. A failure is logged "modCommControl.Operation_Graph" and the
    // graph keeps what it shows.
    void OperationGraph();

    // Combo1: a span takes effect on the time axis at once.
    void setSpan(int listIndex);
    int span() const { return span_; }

    // UpDown_Zoom: dragging a rectangle zooms; while the zoom is on, new
    // samples do not move the time axis. Zoom_Cancel: the value axes go back
    // to the settings, the time axis follows the samples again.
    void zoomOn();
    void zoomCancel();
    bool zooming() const { return zooming_; }
    // The rectangle the operator dragged, in axis units.
    void zoomTo(double timeMin, double timeMax, const std::array<std::pair<double, double>, 6>& valueRanges);

    // ButtColor(i): the colour goes to plot i, its legend, the settings
    // record and file, and to the axis the key stands for (1: Axes(2),
    // 3: Axes(3), 4: Axes(4), 7: Axes(5)). False when no colour was chosen.
    bool chooseColor(int plot, Operator& op);
    void setPlotColor(int plot, int32_t color);

    const TrendAxis& axis(int n) const { return axes_[n]; }
    const TrendPlot& plot(int i) const { return plots_[i]; }
    // Whether plot i shows: used by the model and checked in its legend.
    bool plotShown(int i) const;
    int32_t backColor() const { return backColor_; }
    int32_t gridColor() const { return gridColor_; }

    // The rows to draw, brought up to date with the file, and as of that
    // reading how many of them show (the file's first `counter` lines) and
    // how they came.
    const TrendRows& rows();
    int shownRows() const { return Trend(chamber_).shownRows(); }
    uint32_t generation() const { return Trend(chamber_).generation(); }

    // Goes up with every change a drawing must follow.
    uint64_t revision() const { return revision_; }

private:
    void bindPlots();
    void followNow();

    int16_t chamber_;
    int span_ = 6;
    bool zooming_ = false;
    std::array<TrendAxis, 6> axes_{};
    std::array<TrendPlot, kTrendPlots + 1> plots_{};  // index 0 unused
    int32_t backColor_ = 0;
    int32_t gridColor_ = 0x808080;
    uint64_t revision_ = 0;
    uint32_t saidGeneration_ = 0;
};

}  // namespace qel
