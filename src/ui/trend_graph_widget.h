// CWGraph1 on QCustomPlot: a strip of (time, value) pairs per plot, the time
// axis and four value axes with their own scales and colours, rectangle zoom
// while the zoom key is on, and a read-out of the time and values under the
// mouse. It draws what the page's TrendView holds and asks the trend store
// only for the lines added since it last drew.
#pragma once

#include "trend_view.h"

#include <QString>
#include <QWidget>
#include <array>
#include <cstdint>

class QCustomPlot;
class QCPAxis;
class QCPGraph;
class QLabel;
class QMouseEvent;

namespace qel {

class TrendGraphWidget : public QWidget {
    Q_OBJECT
public:
    explicit TrendGraphWidget(TrendView& view, QWidget* parent = nullptr);

    // Draws again when the view moved on since the last call; reads only
    // what the file gained unless the store had to read it anew.
    void refresh();

    // What plot i (1 to 9) shows: its (time, value) points, NaN for a gap.
    QList<QPointF> points(int plot) const;
    // The read-out for a time on the axis: the time and the shown plots'
    // values at the last sample not after it; "" before the first sample.
    QString readoutAt(double time) const;
    QCustomPlot* plot() const { return plot_; }
    QCPAxis* axis(int n) const { return axes_[n]; }

private:
    void applyAxes();
    void applyData(const TrendRows& rows);
    void showReadout(QMouseEvent* event);
    void takeZoom();

    TrendView& view_;
    QCustomPlot* plot_;
    QLabel* readout_;
    std::array<QCPAxis*, 6> axes_{};
    std::array<QCPGraph*, kTrendPlots + 1> graphs_{};
    uint64_t drawnRevision_ = UINT64_MAX;
    uint32_t drawnGeneration_ = UINT32_MAX;
    int drawnRows_ = 0;
    bool applying_ = false;  // the axes move by the view, not by the operator
};

}  // namespace qel
