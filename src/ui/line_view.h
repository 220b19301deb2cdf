// A plain view of the line until the overview screens and chamber pages
// come: one row per chamber, and a chamber view with its keys.
#pragma once

#include <QWidget>

class QTableWidget;
class QLabel;

namespace qel {

// Every chamber 1 to MaxChamberNo: name, model, state, values, health. A
// lost chamber shows "-.-" on red. A double-click asks for its page.
class LineView : public QWidget {
    Q_OBJECT
public:
    explicit LineView(QWidget* parent = nullptr);
    void refresh();

signals:
    void chamberChosen(int chamber);

private:
    QTableWidget* table_;
};

// One chamber: its values per channel and the run, stop, hold, step and
// user keys, which go to the channel chosen (status panel 3).
class ChamberView : public QWidget {
    Q_OBJECT
public:
    explicit ChamberView(int chamber, QWidget* parent = nullptr);
    int chamber() const { return chamber_; }
    void refresh();

private:
    int chamber_;
    QLabel* title_;
    QTableWidget* table_;
};

}  // namespace qel
