#include "trend_view.h"

#include "clock.h"
#include "errorlog.h"
#include "graph_settings.h"
#include "page_controls.h"
#include "runtime_error.h"
#include "settings_state.h"
#include "state.h"
#include "vbtext.h"

namespace qel {

namespace {

// The frames lbl_BackColor paints with the graph's background.
constexpr const char* kPaintedFrames[] = {"QEL2000", "QEL2100", "QEL2200", "QEL2300",      "QEL2400", "Frame2",
                                          "Frame3",  "Frame9",  "Frame5",  "CH2",          "CH3",     "Full_Channel"};

// The axis whose colour a plot's colour key also sets: 1 the first value
// axis, 3 the MV axis, 4 and 7 the further value axes.
int AxisOfColorKey(int plot) {
    switch (plot) {
        case 1:
            return 2;
        case 3:
            return 3;
        case 4:
            return 4;
        case 7:
            return 5;
        default:
            return 0;
    }
}

}  // namespace

int SpanMinutes(int listIndex) {
    static constexpr int kMinutes[TrendView::kSpans] = {10, 30, 60, 180, 360, 720, 1440};
    return listIndex >= 0 && listIndex < TrendView::kSpans ? kMinutes[listIndex] : 1440;
}

TrendView::TrendView(int16_t chamber) : chamber_(chamber) {}

void TrendView::setUp() {
    ReadGraphLineColors();  // the station-wide colours, read with every lay-out of a page
    const GraphInfoRec& g = GraphInfo[static_cast<size_t>(ChamberIndex(chamber_) + 1)];
    const QString& model = ChamberModel[ChamberIndex(chamber_)];
    for (int i = 1; i <= kTrendPlots; ++i) plots_[i].color = g.Color[i - 1];
    axes_[1] = {true, 0, 0, GraphLine.TimeColor, g.XMajor, QString()};
    axes_[2] = {true, double(g.Min[0]), double(g.Max[0]), plots_[1].color, g.YMajor, QString()};
    axes_[3] = {true, 0, 100, plots_[3].color, 5, QString()};
    axes_[4] = {false, double(g.Min[1]), double(g.Max[1]), plots_[4].color, g.YMajor, QString()};
    axes_[5] = {false, double(g.Min[2]), double(g.Max[2]), plots_[7].color, g.YMajor, QString()};
    if (model == u"QEL2300" || model == u"QEL2400") {
        const QString line(12, QChar(0x2500));
        for (int a : {2, 4, 5}) axes_[a].caption = line + QStringLiteral(" CH%1 ").arg(a == 2 ? 1 : a - 2) + line;
    }
    bindPlots();
    backColor_ = GraphLine.BackColor;
    gridColor_ = GraphLine.GridColor;
    ControlSet& page = PageControls(chamber_);
    page.setCaption(QStringLiteral("lbl_BackColor"), QString::number(backColor_));
    for (const char* frame : kPaintedFrames) page.setBack(QString::fromLatin1(frame), Color::fromValue(backColor_));
    for (int i = 1; i <= kTrendPlots; ++i) {
        page.setValue(Indexed(QStringLiteral("lblColor"), i), true);
        page.setBack(Indexed(QStringLiteral("lblColor"), i), Color::fromValue(plots_[i].color));
    }
    zooming_ = false;
    followNow();
    ++revision_;
}

// Which plots a model draws and on which axis.
void TrendView::bindPlots() {
    const QString& model = ChamberModel[ChamberIndex(chamber_)];
    const bool zz = Val(ChamberVariant[ChamberIndex(chamber_)]) == 1;
    for (int i = 1; i <= kTrendPlots; ++i) plots_[i].used = false;
    for (int i : {1, 2}) plots_[i] = {true, 2, plots_[i].color};
    for (int i : {3, 6, 9}) plots_[i].axis = 3;
    plots_[3].used = true;
    int further = 0, third = 0;  // the axes of plots 4, 5 and of 7, 8
    if (model == u"QEL2000") {
        further = 2;  // plot 5 of a heat-cool chamber goes with channel 1
    } else if (model == u"QEL2100" || model == u"QEL2400") {
        further = 4;
    } else if (model == u"QEL2200") {
        further = 3;
    } else if (model == u"QEL2300") {
        further = 2;
    }
    if (model == u"QEL2300") third = 2;
    if (model == u"QEL2400") third = 5;
    for (int i : {4, 5}) plots_[i].axis = further ? further : 2;
    for (int i : {7, 8}) plots_[i].axis = third ? third : 2;
    if (zz) plots_[6].used = true;
    if (model != u"QEL2000")
        for (int i : {4, 5, 6}) plots_[i].used = true;
    if (model == u"QEL2300" || model == u"QEL2400")
        for (int i : {7, 8, 9}) plots_[i].used = true;
    axes_[4].visible = axes_[5].visible = false;
    for (int i = 1; i <= kTrendPlots; ++i)
        if (plots_[i].used && plots_[i].axis >= 4) axes_[plots_[i].axis].visible = true;
}

void TrendView::followNow() {
    const QDateTime now = Now();
    axes_[1].max = static_cast<double>(now.toSecsSinceEpoch());
    axes_[1].min = axes_[1].max - 60.0 * SpanMinutes(span_);
}

void TrendView::OperationGraph() {
    try {
        if (!zooming_) followNow();
        Trend(chamber_).addSample(chamber_, Now());
        bindPlots();
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modCommControl.Operation_Graph"));
    }
    ++revision_;
}

const TrendRows& TrendView::rows() {
    TrendStore& store = Trend(chamber_);
    const TrendRows& r = store.rows(chamber_);
    // Lines that are no samples are left out and said once per reading.
    if (store.badLines() > 0 && store.generation() != saidGeneration_) {
        saidGeneration_ = store.generation();
        ErrorTail(QString::fromUtf8(err::TypeMismatch), QStringLiteral("modCommControl.Operation_Graph"));
    }
    return r;
}

void TrendView::setSpan(int listIndex) {
    span_ = listIndex;
    followNow();
    ++revision_;
}

void TrendView::zoomOn() {
    zooming_ = true;
    ++revision_;
}

void TrendView::zoomCancel() {
    const GraphInfoRec& g = GraphInfo[static_cast<size_t>(ChamberIndex(chamber_) + 1)];
    for (int a : {2, 4, 5}) {
        axes_[a].min = g.Min[a == 2 ? 0 : a - 3];
        axes_[a].max = g.Max[a == 2 ? 0 : a - 3];
    }
    // The MV axis comes back too, and the time axis follows the samples again.
    axes_[3].min = 0;
    axes_[3].max = 100;
    zooming_ = false;
    followNow();
    ++revision_;
}

void TrendView::zoomTo(double timeMin, double timeMax, const std::array<std::pair<double, double>, 6>& valueRanges) {
    axes_[1].min = timeMin;
    axes_[1].max = timeMax;
    for (int a = 2; a <= 5; ++a) std::tie(axes_[a].min, axes_[a].max) = valueRanges[a];
    ++revision_;
}

bool TrendView::chooseColor(int plot, Operator& op) {
    if (plot < 1 || plot > kTrendPlots) return false;
    int32_t color = plots_[plot].color;
    if (!op.chooseColor(color)) return false;
    setPlotColor(plot, color);
    StoreTraceColor(chamber_, plot, color);
    return true;
}

void TrendView::setPlotColor(int plot, int32_t color) {
    if (plot < 1 || plot > kTrendPlots) return;
    plots_[plot].color = color;
    PageControls(chamber_).setBack(Indexed(QStringLiteral("lblColor"), plot), Color::fromValue(color));
    if (const int a = AxisOfColorKey(plot)) axes_[a].color = color;
    ++revision_;
}

bool TrendView::plotShown(int i) const {
    return i >= 1 && i <= kTrendPlots && plots_[i].used &&
           PageControls(chamber_).get(Indexed(QStringLiteral("lblColor"), i)).value;
}

}  // namespace qel
