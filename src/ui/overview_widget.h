// The view of one overview screen: a grid of chamber cells (1 cell, 2x2,
// 3x3, 4x4, 5x5, or 6 columns of 5 rows), every control of the screen a
// widget with the control's name as object name, painted from the screen's
// controls through a ControlBinding. The logic decides which kind of cell
// (CH1, CH2, CH3) a chamber shows; the view only copies. Fonts follow the
// size of the cells: a big bold PV, smaller SP and MV, the name bar on top;
// texts that do not fit are elided within their cell.
#pragma once

#include "control_binding.h"

#include <QList>
#include <QStringList>
#include <QWidget>

namespace qel {

class OverviewScreen;
class OverviewCell;

class OverviewWidget : public QWidget {
    Q_OBJECT
public:
    // The screen outlives the view.
    explicit OverviewWidget(OverviewScreen& screen, QWidget* parent = nullptr);

    OverviewScreen& screen() const { return screen_; }

    // Repaints when the screen's controls changed since the last call, so an
    // unchanged poll costs one compare; rebuilds the grid first when the
    // screen's cell count moved (a new chamber count after set-up).
    void refresh();

    // Cells in the grid, and the grid's columns for a cell count.
    int cells() const { return static_cast<int>(cells_.size()); }
    static int columnsFor(int cells);

    // What the visible cell of `chamber` shows, in reading order: the name,
    // then per channel shown its row label (the one-channel cell has none),
    // PV, SP and MV. Empty when the chamber has no visible cell.
    QStringList shownTexts(int chamber) const;

signals:
    // A single click on a cell's frame, value or name selected the chamber
    // (the screen highlights it and writes status panel 2).
    void chamberSelected(int chamber);
    // A double click on a cell: the chamber's page is wanted.
    void pageRequested(int chamber);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void build();
    void paintTexts();
    // The chamber a click on `widget` selects, walking out to the frame of
    // its cell; 0 when none.
    int select(QObject* widget);

    OverviewScreen& screen_;
    ControlBinding binding_;
    QWidget* grid_ = nullptr;
    QList<OverviewCell*> cells_;
};

}  // namespace qel
