// A plain view of the line until the overview screens and chamber pages
// come: one row per chamber, and a chamber view with its keys.
#pragma once

#include <QStringList>
#include <QWidget>

class QTableWidget;
class QLabel;
class QComboBox;

namespace qel {

// Every chamber 1 to MaxChamberNo: name, model, state, values, health. A
// lost chamber shows "-.-" on red. A double-click asks for its page.
class LineView : public QWidget {
    Q_OBJECT
public:
    explicit LineView(QWidget* parent = nullptr);
    void refresh();
    int rows() const;
    // The cells of a row as they read on screen.
    QStringList shownTexts(int row) const;

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
    // Also follows the channel in status panel 3, so that the keys always go
    // to the channel on display.
    void refresh();
    // Per channel row, the cells as they read on screen.
    QList<QStringList> shownTexts() const;

private:
    int chamber_;
    QLabel* title_;
    QTableWidget* table_;
    QComboBox* channel_;
};

}  // namespace qel
