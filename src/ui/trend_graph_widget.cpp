#include "trend_graph_widget.h"

#include "control_binding.h"

#include <QLabel>
#include <QVBoxLayout>
#include <cmath>
#include <qcustomplot.h>

namespace qel {

namespace {

QColor ColorOf(int32_t v) { return ToQColor(Color::fromValue(v)); }

const char* const kPlotNames[kTrendPlots + 1] = {"", "PV1", "SP1", "MV1", "PV2", "SP2", "MV2", "PV3", "SP3", "MV3"};

void PaintAxis(QCPAxis* a, const QColor& color, const QColor& grid) {
    a->setBasePen(QPen(color));
    a->setTickPen(QPen(color));
    a->setSubTickPen(QPen(color));
    a->setTickLabelColor(color);
    a->setLabelColor(color);
    a->grid()->setPen(QPen(grid, 0, Qt::DotLine));
    a->grid()->setZeroLinePen(Qt::NoPen);
}

}  // namespace

TrendGraphWidget::TrendGraphWidget(TrendView& view, QWidget* parent)
    : QWidget(parent), view_(view), plot_(new QCustomPlot(this)), readout_(new QLabel(this)) {
    setObjectName(QStringLiteral("TrendGraph"));
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    v->setSpacing(2);
    plot_->setObjectName(QStringLiteral("CWGraph1Plot"));
    plot_->setNoAntialiasingOnDrag(true);
    v->addWidget(plot_, 1);
    readout_->setObjectName(QStringLiteral("GraphReadout"));
    readout_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    v->addWidget(readout_);

    QCPAxisRect* rect = plot_->axisRect();
    axes_[1] = plot_->xAxis;
    axes_[2] = plot_->yAxis;
    axes_[3] = plot_->yAxis2;
    axes_[4] = rect->addAxis(QCPAxis::atLeft);
    axes_[5] = rect->addAxis(QCPAxis::atRight);
    auto ticker = QSharedPointer<QCPAxisTickerDateTime>::create();
    ticker->setDateTimeFormat(QStringLiteral("hh:mm:ss\nMM/dd"));
    axes_[1]->setTicker(ticker);
    axes_[3]->setVisible(true);
    for (int i = 1; i <= kTrendPlots; ++i) {
        graphs_[i] = plot_->addGraph(axes_[1], axes_[2]);
        graphs_[i]->setName(QString::fromLatin1(kPlotNames[i]));
        graphs_[i]->setAdaptiveSampling(true);
    }
    rect->setRangeZoomAxes({axes_[1], axes_[2], axes_[3], axes_[4], axes_[5]});
    for (int a = 1; a <= 5; ++a)
        connect(axes_[a], qOverload<const QCPRange&>(&QCPAxis::rangeChanged), this, [this] {
            if (!applying_) takeZoom();
        });
    plot_->setMouseTracking(true);
    connect(plot_, &QCustomPlot::mouseMove, this, &TrendGraphWidget::showReadout);
}

void TrendGraphWidget::refresh() {
    const TrendRows& rows = view_.rows();  // the file read as far as it grew, once per refresh
    if (view_.revision() == drawnRevision_ && view_.shownRows() == drawnRows_ && view_.generation() == drawnGeneration_)
        return;
    drawnRevision_ = view_.revision();
    applying_ = true;
    applyAxes();
    applyData(rows);
    applying_ = false;
    plot_->replot(QCustomPlot::rpQueuedReplot);
}

void TrendGraphWidget::applyAxes() {
    const QColor grid = ColorOf(view_.gridColor());
    plot_->setBackground(ColorOf(view_.backColor()));
    plot_->axisRect()->setBackground(ColorOf(view_.backColor()));
    for (int a = 1; a <= 5; ++a) {
        const TrendAxis& ax = view_.axis(a);
        QCPAxis* axis = axes_[a];
        axis->setVisible(ax.visible);
        axis->setRange(ax.min, ax.max);
        axis->setLabel(ax.caption);
        PaintAxis(axis, ColorOf(ax.color), grid);
        if (ax.divisions > 0) axis->ticker()->setTickCount(ax.divisions);
        axis->grid()->setVisible(a <= 2);
    }
    plot_->setSelectionRectMode(view_.zooming() ? QCP::srmZoom : QCP::srmNone);
    for (int i = 1; i <= kTrendPlots; ++i) {
        const TrendPlot& p = view_.plot(i);
        QCPGraph* g = graphs_[i];
        if (g->valueAxis() != axes_[p.axis]) g->setValueAxis(axes_[p.axis]);
        g->setPen(QPen(ColorOf(p.color), 1.5));
        g->setVisible(view_.plotShown(i));
    }
}

void TrendGraphWidget::applyData(const TrendRows& rows) {
    const int shown = view_.shownRows();
    const bool fresh = view_.generation() != drawnGeneration_ || shown < drawnRows_;
    const int from = fresh ? 0 : drawnRows_;
    for (int i = 1; i <= kTrendPlots; ++i) {
        QVector<double> keys, values;
        keys.reserve(shown - from);
        values.reserve(shown - from);
        const auto& column = rows.value[static_cast<size_t>(i - 1)];
        for (int r = from; r < shown; ++r) {
            if (rows.time[r] == TrendRows::kNoTime) continue;  // not a sample: left out
            keys.append(static_cast<double>(rows.time[r]));
            values.append(static_cast<double>(column[r]));
        }
        if (fresh)
            graphs_[i]->setData(keys, values);
        else
            graphs_[i]->addData(keys, values);
    }
    drawnGeneration_ = view_.generation();
    drawnRows_ = shown;
}

// The rectangle the operator dragged becomes the view's axes, so that the
// next drawing keeps it.
void TrendGraphWidget::takeZoom() {
    std::array<std::pair<double, double>, 6> ranges{};
    for (int a = 2; a <= 5; ++a) ranges[a] = {axes_[a]->range().lower, axes_[a]->range().upper};
    view_.zoomTo(axes_[1]->range().lower, axes_[1]->range().upper, ranges);
    drawnRevision_ = view_.revision();
}

QList<QPointF> TrendGraphWidget::points(int plot) const {
    QList<QPointF> out;
    if (plot < 1 || plot > kTrendPlots) return out;
    for (auto it = graphs_[plot]->data()->constBegin(); it != graphs_[plot]->data()->constEnd(); ++it)
        out.append(QPointF(it->key, it->value));
    return out;
}

QString TrendGraphWidget::readoutAt(double time) const {
    auto data = graphs_[1]->data();
    if (data->isEmpty() || time < data->constBegin()->key) return QString();
    auto at = data->findBegin(time, false);
    if (at == data->constEnd() || at->key > time) --at;
    const double key = at->key;
    QString text = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(key)).toString(QStringLiteral("yyyy/MM/dd hh:mm:ss"));
    for (int i = 1; i <= kTrendPlots; ++i) {
        if (!view_.plotShown(i)) continue;
        auto d = graphs_[i]->data();
        auto p = d->findBegin(key, false);
        if (p == d->constEnd() || p->key != key) continue;
        text += QStringLiteral("   %1 %2").arg(QString::fromLatin1(kPlotNames[i]),
                                               std::isnan(p->value) ? QStringLiteral("-") : QString::number(p->value, 'f', 1));
    }
    return text;
}

void TrendGraphWidget::showReadout(QMouseEvent* event) {
    readout_->setText(readoutAt(axes_[1]->pixelToCoord(event->position().x())));
}

}  // namespace qel
