#include "overview_widget.h"

#include "overview_screen.h"

#include <QApplication>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

namespace qel {

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Role { Name, Row, PV, Value };

// A label of a cell: it never asks for room (the grid shares the screen
// out evenly), paints its text in a font of the cell's choosing and elides
// what does not fit. Its text colour is the control's fore colour, or black
// or white by the background it stands on. An SP or MV label paints its
// heading ("SP", "MV") small at its left, so that its text stays the value.
class CellText : public QLabel {
public:
    CellText(const QString& name, Role role, QStringList backdrop, QWidget* parent)
        : QLabel(parent), role_(role), backdrop_(std::move(backdrop)) {
        setObjectName(name);
        // The name bar takes the height the cell gives it; the others share the rest.
        setSizePolicy(QSizePolicy::Ignored, role == Role::Name ? QSizePolicy::Fixed : QSizePolicy::Ignored);
        const bool number = role == Role::PV || role == Role::Value;
        setAlignment((number ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }

    Role role() const { return role_; }
    // Controls whose background this text stands on, nearest first.
    const QStringList& backdrop() const { return backdrop_; }
    // For SP and MV: the heading control whose text stands in front.
    QString heading;
    void setPrefix(const QString& prefix) {
        if (prefix == prefix_) return;
        prefix_ = prefix;
        update();
    }

    void setTextFont(const QFont& font) {
        if (font == font_) return;
        font_ = font;
        update();
    }
    void setPen(const QColor& pen) {
        if (pen == pen_) return;
        pen_ = pen;
        update();
    }
    // True when the height changed; the frame's layout must then run again.
    bool setHintHeight(int height) {
        if (height == hintHeight_) return false;
        hintHeight_ = height;
        updateGeometry();
        return true;
    }
    QSize sizeHint() const override { return {0, hintHeight_}; }
    QSize minimumSizeHint() const override { return {0, hintHeight_}; }

protected:
    void paintEvent(QPaintEvent* event) override {
        QFrame::paintEvent(event);
        QPainter p(this);
        p.setFont(font_);
        p.setPen(pen_);
        QRect r = contentsRect().adjusted(3, 0, -3, 0);
        if (!prefix_.isEmpty()) {
            QFont small = font_;
            small.setPixelSize(std::max(6, font_.pixelSize() * 3 / 4));
            const int room = r.width() / 3;
            const QString shown = QFontMetrics(small).elidedText(prefix_, Qt::ElideRight, room);
            p.setFont(small);
            p.setPen(QColor(pen_.red(), pen_.green(), pen_.blue(), 170));
            p.drawText(r, Qt::AlignLeft | Qt::AlignVCenter, shown);
            r.setLeft(r.left() + QFontMetrics(small).horizontalAdvance(shown) + 2);
            p.setFont(font_);
            p.setPen(pen_);
        }
        p.drawText(r, static_cast<int>(alignment()), QFontMetrics(font_).elidedText(text(), Qt::ElideRight, r.width()));
    }

private:
    Role role_;
    QStringList backdrop_;
    QFont font_;
    QColor pen_ = Qt::black;
    QString prefix_;
    int hintHeight_ = 0;
};

// Widths of a channel row's columns: row label, PV, SP and MV.
constexpr int kRowColumn = 5, kPvColumn = 11, kValueColumn = 8;

QColor ContrastOn(const QColor& back) { return qGray(back.rgb()) < 128 ? QColor(Qt::white) : QColor(Qt::black); }

}  // namespace

// One chamber's cell: the three kinds of cell stacked, of which the logic
// shows one. Fonts are fitted to the cell whenever it is resized.
class OverviewCell : public QWidget {
public:
    OverviewCell(int chamber, QWidget* parent) : QWidget(parent), chamber_(chamber) {
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
        auto* layout = new QVBoxLayout(this);
        layout->setContentsMargins(0, 0, 0, 0);
        for (int k = 1; k <= 3; ++k) layout->addWidget(buildKind(k));
    }

    const QList<CellText*>& texts() const { return texts_; }

    QStringList shownTexts() const {
        for (const Kind& kind : kinds_) {
            if (kind.frame->isHidden()) continue;
            QStringList out;
            for (const CellText* t : kind.reading) out << t->text();
            return out;
        }
        return {};
    }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QWidget::resizeEvent(event);
        fitFonts();
    }

private:
    struct Kind {
        QFrame* frame = nullptr;
        CellText* name = nullptr;
        int channels = 1;
        QList<CellText*> reading;  // name, then row label, PV, SP, MV per channel
    };

    QString cell(const QString& base) const { return Indexed(base, chamber_); }

    CellText* text(const QString& name, Role role, const QStringList& backdrop, QWidget* parent) {
        auto* t = new CellText(name, role, backdrop, parent);
        texts_ << t;
        return t;
    }

    // The row of one channel inside `inside`: row label, big PV, SP over MV.
    void addChannel(Kind& kind, QFrame* inside, QGridLayout* grid, int row, const QString& suffix, bool rowLabel) {
        const QStringList backdrop = {inside->objectName(), kind.frame->objectName()};
        const auto own = [&backdrop](const QString& name) { return QStringList{name} + backdrop; };
        if (rowLabel) {
            const QString name = cell(u"lbl_CH"_s + suffix);
            kind.reading << text(name, Role::Row, own(name), inside);
            grid->addWidget(kind.reading.back(), row, 0, 2, 1);
        }
        const QString pv = cell(u"PV_CH"_s + suffix);
        kind.reading << text(pv, Role::PV, own(pv), inside);
        grid->addWidget(kind.reading.back(), row, 1, 2, 1);
        int line = row;
        for (const QString& v : {u"SP"_s, u"MV"_s}) {
            const QString name = cell(v + u"_CH"_s + suffix);
            kind.reading << text(name, Role::Value, own(name), inside);
            kind.reading.back()->heading = u"lbl_"_s + v + u"_CH3"_s;
            grid->addWidget(kind.reading.back(), line++, 2);
        }
        grid->setColumnStretch(0, rowLabel ? kRowColumn : 0);
        grid->setColumnStretch(1, kPvColumn);
        grid->setColumnStretch(2, kValueColumn);
    }

    QFrame* buildKind(int k) {
        Kind& kind = kinds_[static_cast<size_t>(k - 1)];
        kind.channels = k;
        kind.frame = new QFrame(this);
        kind.frame->setObjectName(cell(u"CH"_s + QString::number(k)));
        kind.frame->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
        auto* layout = new QVBoxLayout(kind.frame);
        layout->setContentsMargins(4, 4, 4, 4);  // the highlight shows as this border
        layout->setSpacing(1);
        const QString name = cell(u"lbl_Chamber_Name_CH"_s + QString::number(k));
        kind.name = text(name, Role::Name, {name, kind.frame->objectName()}, kind.frame);
        kind.reading << kind.name;
        layout->addWidget(kind.name);
        // One inside for the one- and three-channel cells, one per channel for two.
        const QStringList insides = k == 1   ? QStringList{u"frm_CH1"_s}
                                    : k == 2 ? QStringList{u"frm_CH2_1"_s, u"frm_CH2_2"_s}
                                             : QStringList{u"frm_CH3"_s};
        int channel = 1;
        for (const QString& base : insides) {
            auto* inside = new QFrame(kind.frame);
            inside->setObjectName(cell(base));
            inside->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
            auto* grid = new QGridLayout(inside);
            grid->setContentsMargins(2, 1, 2, 1);
            grid->setSpacing(0);
            const int rows = k == 3 ? 3 : 1;
            for (int r = 0; r < rows; ++r, ++channel) {
                const QString suffix = k == 1 ? u"1"_s : QStringLiteral("%1_%2").arg(k).arg(channel);
                addChannel(kind, inside, grid, r * 2, suffix, k != 1);
            }
            layout->addWidget(inside, 1);
        }
        return kind.frame;
    }

    // Each text's font: as tall as its row allows and no wider than its
    // column for the longest text it usually shows.
    void fitFonts() {
        const int w = width(), h = height();
        const int nameH = std::clamp(h / 6, 16, 56);
        std::array<QFont, 4> fonts;
        for (const Kind& kind : kinds_) {
            if (kind.name->setHintHeight(nameH)) {
                // This runs inside the resize: lay the frame out again at once.
                kind.frame->layout()->invalidate();
                kind.frame->layout()->activate();
            }
            const double rowH = std::max(1.0, double(h - nameH - 10) / kind.channels);
            const bool rowLabel = kind.channels > 1;
            // The frame's border and the row's margins take 12 pixels of the width.
            const double share = (w - 12.0) / ((rowLabel ? kRowColumn : 0) + kPvColumn + kValueColumn);
            const auto font = [](Role role, bool bold, double height, const QString& sample, double width) {
                QFont f = QApplication::font();
                f.setBold(bold);
                f.setPixelSize(100);
                const double fit = (width - 8) * 100 / QFontMetricsF(f).horizontalAdvance(sample);
                f.setPixelSize(std::clamp(int(std::min(height, fit)), 6, 400));
                return std::pair{role, f};
            };
            const double small = rowH * 0.3;
            for (const auto& [role, f] : {font(Role::Name, true, nameH * 0.62, u"[M]"_s, 1e6),
                                          font(Role::PV, true, rowH * 0.62, u"-100.00"_s, share * kPvColumn),
                                          font(Role::Value, false, small, u"MV -100.00"_s, share * kValueColumn),
                                          font(Role::Row, false, small, u"[CH1]"_s, share * kRowColumn)})
                fonts[static_cast<size_t>(role)] = f;
            for (CellText* t : texts_)
                if (kind.frame->isAncestorOf(t)) t->setTextFont(fonts[static_cast<size_t>(t->role())]);
        }
    }

    int chamber_;
    std::array<Kind, 3> kinds_;
    QList<CellText*> texts_;
};

OverviewWidget::OverviewWidget(OverviewScreen& screen, QWidget* parent) : QWidget(parent), screen_(screen) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    build();
    refresh();
}

int OverviewWidget::columnsFor(int cells) {
    if (cells <= 1) return 1;
    if (cells <= 4) return 2;
    if (cells <= 9) return 3;
    if (cells <= 16) return 4;
    if (cells <= 25) return 5;
    return 6;
}

void OverviewWidget::build() {
    delete grid_;
    cells_.clear();
    grid_ = new QWidget(this);
    layout()->addWidget(grid_);
    auto* grid = new QGridLayout(grid_);
    grid->setContentsMargins(4, 4, 4, 4);
    grid->setSpacing(4);
    const int count = screen_.cellCount();
    const int columns = columnsFor(count);
    for (int n = 1; n <= count; ++n) {
        auto* cell = new OverviewCell(n, grid_);
        grid->addWidget(cell, (n - 1) / columns, (n - 1) % columns);
        cells_ << cell;
    }
    for (int c = 0; c < columns; ++c) grid->setColumnStretch(c, 1);
    for (int r = 0; r < (count + columns - 1) / columns; ++r) grid->setRowStretch(r, 1);
    for (QWidget* w : grid_->findChildren<QWidget*>()) w->installEventFilter(this);
    binding_.collect(grid_);
}

void OverviewWidget::refresh() {
    if (screen_.cellCount() != cells()) build();
    if (binding_.apply(screen_.controls())) paintTexts();
}

void OverviewWidget::paintTexts() {
    const ControlSet& set = screen_.controls();
    const QColor window = palette().color(QPalette::Window);
    for (OverviewCell* cell : cells_) {
        for (CellText* t : cell->texts()) {
            if (!t->heading.isEmpty()) t->setPrefix(set.get(t->heading).caption);
            const Color fore = set.get(t->objectName()).fore;
            if (fore.isSet()) {
                t->setPen(ToQColor(fore));
                continue;
            }
            QColor back = window;
            for (const QString& b : t->backdrop()) {
                if (set.get(b).back.isSet()) {
                    back = ToQColor(set.get(b).back);
                    break;
                }
            }
            t->setPen(ContrastOn(back));
        }
    }
}

QStringList OverviewWidget::shownTexts(int chamber) const {
    if (chamber < 1 || chamber > cells()) return {};
    return cells_[chamber - 1]->shownTexts();
}

int OverviewWidget::select(QObject* widget) {
    for (QObject* o = widget; o && o != this; o = o->parent()) {
        if (screen_.click(o->objectName())) {
            refresh();
            return OverviewChamberOf(o->objectName());
        }
    }
    return 0;
}

bool OverviewWidget::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseButtonDblClick)
        return QWidget::eventFilter(watched, event);
    if (static_cast<QMouseEvent*>(event)->button() != Qt::LeftButton) return false;
    const int chamber = select(watched);
    if (chamber == 0) return false;
    if (type == QEvent::MouseButtonPress)
        emit chamberSelected(chamber);
    else
        emit pageRequested(chamber);
    return true;
}

void OverviewWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

}  // namespace qel
