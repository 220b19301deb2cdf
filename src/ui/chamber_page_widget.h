// The face of one chamber page: a widget for every control the page logic
// (ChamberPage) names, in all five model layouts at once, bound to the
// page's controls by object name. The logic decides what shows; this only
// copies it onto the screen and hands clicks back.
//
// The model frames (QEL2000, QEL2100, QEL2400, QEL2200, QEL2300) lie on top
// of each other in one place, with Full_Channel above them and the DI name
// list Frame10 above all: whichever is shown and highest is what the
// operator sees, as the logic's hiding and showing expects. Beside them:
// the trend (CWGraph1, its legend, frmHC), Status_History and the page keys.
#pragma once

#include "chamber_page.h"
#include "control_binding.h"

#include <QList>
#include <QStringList>
#include <QWidget>
#include <utility>
#include <vector>

class QFrame;
class QGridLayout;
class QVBoxLayout;
class QTableWidget;
class QTimer;

namespace qel {

class PageLabel;
class KeyButton;

class TrendGraphWidget;

class ChamberPageWidget : public QWidget {
    Q_OBJECT
public:
    explicit ChamberPageWidget(ChamberPage& page, QWidget* parent = nullptr);

    ChamberPage& page() const { return page_; }
    int chamber() const { return page_.chamber(); }

    // Repaints what changed in the page's controls (nothing to do when the
    // set did not move) and appends the history rows added since the last
    // call.
    void refresh();

    // The texts on display, one list per channel of the layout on top (one
    // channel for a channel frame of the QEL2000 family, all shown channels
    // of Full_Channel, two for the QEL2200, three for the QEL2300; none when
    // no model frame shows). Each list: state caption (the chamber name with
    // its state word), PV, SP, MV, unit; "" for a field that is hidden.
    QList<QStringList> shownTexts() const;
    TrendGraphWidget* graph() const { return graph_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    // How large a widget's text is drawn; scaled with the page's size.
    enum class Role { Banner, PV, Big, Unit, Value, Caption, Key, Lamp, Small };

    PageLabel* label(QWidget* parent, const QString& name, Role role, bool clickable = false);
    KeyButton* key(QWidget* parent, const QString& name, Role role, const char* look = "key");
    QFrame* frame(QWidget* parent, const QString& name, const char* look = "layout");
    QWidget* lampArea(QWidget* parent, const QString& prefix);
    void infoGrid(QGridLayout* grid, int row, const QString& model, const QString& index, bool withSegRpt);
    QWidget* keyRow(QWidget* parent, const QString& model, const QString& index);
    void valueGrid(QWidget* g, QGridLayout* grid, const QString& model, int ch, int row, bool spClickable);
    void keysAndLamps(QFrame* f, QVBoxLayout* v, const QString& model);

    QFrame* buildChannelFrame(QWidget* parent, int ch, const QString& frameName, const QString& lamps);
    QFrame* buildQel2200(QWidget* parent);
    QFrame* buildQel2300(QWidget* parent);
    QFrame* buildFullChannel(QWidget* parent);
    QFrame* buildDiNames(QWidget* parent);
    QWidget* buildSide(QWidget* parent);

    void collect();
    void applyControls();
    void appendHistory();
    void keyClicked(const QString& name);
    void applyScale();
    void beep();
    QString shown(const QString& name) const;

    ChamberPage& page_;
    ControlBinding binding_;
    // Widgets with the name of a widget the binding holds (a key that
    // stands in more than one layout); painted alongside it.
    std::vector<std::pair<QString, QWidget*>> twins_;
    std::vector<std::pair<QWidget*, Role>> fonts_;
    std::vector<std::pair<int, QWidget*>> fullRows_;
    QTableWidget* history_ = nullptr;
    TrendGraphWidget* graph_ = nullptr;
    qsizetype historyShown_ = 0;
    QTimer* sound_ = nullptr;
    double scale_ = 0;
};

}  // namespace qel
