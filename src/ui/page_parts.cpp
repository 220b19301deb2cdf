#include "page_parts.h"

#include "controls.h"

#include <QFontInfo>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <algorithm>

namespace qel {

// ---- PageLabel ----

PageLabel::PageLabel(const QString& name, Mode mode, QWidget* parent) : QLabel(parent), mode_(mode) {
    setObjectName(name);
    setTextFormat(Qt::PlainText);
}

// Frame, margins and style padding around the text.
QSize PageLabel::chrome() const {
    const QRect cr = contentsRect();
    return QSize(width() - cr.width() + 2 * margin(), height() - cr.height() + 2 * margin());
}

QRect PageLabel::textRect() const {
    const int m = margin();
    return contentsRect().adjusted(m, m, -m, -m);
}

QFont PageLabel::visibleFont() const {
    QFont f = font();
    if (mode_ != Mode::Fit || text().isEmpty()) return f;
    const QRect r = textRect();
    int px = f.pixelSize() > 0 ? f.pixelSize() : QFontInfo(f).pixelSize();
    const int smallest = std::max(6, px / 2);
    // A few steps suffice: each one scales by the shortfall measured.
    for (int step = 0; step < 8 && px > smallest; ++step) {
        const QFontMetrics fm(f);
        const int w = fm.horizontalAdvance(text());
        const int h = fm.height();
        if (w <= r.width() && h <= r.height()) break;
        double k = 1.0;
        if (w > r.width()) k = std::min(k, w > 0 ? double(std::max(0, r.width())) / w : 1.0);
        if (h > r.height()) k = std::min(k, h > 0 ? double(std::max(0, r.height())) / h : 1.0);
        px = std::max(smallest, std::min(px - 1, static_cast<int>(px * k)));
        f.setPixelSize(px);
    }
    return f;
}

QString PageLabel::visibleText() const {
    const QFontMetrics fm(visibleFont());
    const int width = std::max(0, textRect().width());
    // Captions carry blanks behind the text; they need no room to be read.
    QString visible = text();
    while (visible.endsWith(u' ')) visible.chop(1);
    if (fm.horizontalAdvance(visible) <= width) return text();
    return fm.elidedText(text(), Qt::ElideRight, width);
}

QSize PageLabel::sizeHint() const {
    ensurePolished();
    const QFontMetrics fm(font());
    const QSize c = chrome();
    // An empty field keeps the height of a line, so that values arriving
    // later do not move the page.
    const int w = fm.horizontalAdvance(text().isEmpty() ? QStringLiteral("0") : text());
    return QSize(w + c.width(), fm.height() + c.height());
}

QSize PageLabel::minimumSizeHint() const {
    const QSize s = sizeHint();
    const QFontMetrics fm(font());
    const QSize c = chrome();
    const int w = std::min(s.width(), fm.averageCharWidth() * 3 + c.width());
    const int h = mode_ == Mode::Fit ? std::min(s.height(), fm.height() / 2 + c.height()) : s.height();
    return QSize(w, h);
}

void PageLabel::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);  // background and border of the style
    QPainter p(this);
    p.setFont(visibleFont());
    const QRect r = textRect();
    const QString shown = visibleText();
    style()->drawItemText(&p, r, QStyle::visualAlignment(layoutDirection(), alignment()), palette(), isEnabled(), shown,
                          foregroundRole());
    const QString tip = shown == text() ? QString() : text();
    if (toolTip() != tip) setToolTip(tip);
}

void PageLabel::mouseReleaseEvent(QMouseEvent* event) {
    if (onClick && event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        event->accept();
        onClick();
        return;
    }
    QLabel::mouseReleaseEvent(event);
}

// ---- KeyButton ----

KeyButton::KeyButton(const QString& name, QWidget* parent) : QPushButton(parent) {
    setObjectName(name);
    setAutoDefault(false);
}

QSize KeyButton::minimumSizeHint() const {
    const QSize s = QPushButton::minimumSizeHint();
    return QSize(std::min(s.width(), fontMetrics().averageCharWidth() * 4 + 16), s.height());
}

void KeyButton::paintEvent(QPaintEvent*) {
    QStylePainter p(this);
    QStyleOptionButton opt;
    initStyleOption(&opt);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &opt, this);
    opt.text = fontMetrics().elidedText(text(), Qt::ElideRight, std::max(0, contents.width()));
    p.drawControl(QStyle::CE_PushButton, opt);
    const QString tip = opt.text == text() ? QString() : text();
    if (toolTip() != tip) setToolTip(tip);
}

// ---- FlowGridLayout ----

FlowGridLayout::FlowGridLayout(QWidget* parent, int maxCellChars) : QLayout(parent), maxCellChars_(maxCellChars) {
    setContentsMargins(0, 0, 0, 0);
    setSpacing(3);
}

FlowGridLayout::~FlowGridLayout() {
    while (QLayoutItem* item = takeAt(0)) delete item;
}

void FlowGridLayout::addItem(QLayoutItem* item) { items_.append(item); }

QLayoutItem* FlowGridLayout::takeAt(int index) {
    return index >= 0 && index < items_.size() ? items_.takeAt(index) : nullptr;
}

QSize FlowGridLayout::cell() const {
    int w = 0;
    int h = 0;
    for (const QLayoutItem* item : items_) {
        if (item->isEmpty()) continue;
        const QSize s = item->sizeHint();
        w = std::max(w, s.width());
        h = std::max(h, s.height());
    }
    if (const QWidget* pw = parentWidget()) w = std::min(w, pw->fontMetrics().averageCharWidth() * maxCellChars_);
    return QSize(w, h);
}

int FlowGridLayout::columns(int width) const {
    const int w = cell().width();
    const int sp = std::max(0, spacing());
    return w <= 0 ? 1 : std::max(1, (width + sp) / (w + sp));
}

// Places (or only measures) the visible items; returns the height used.
int FlowGridLayout::place(const QRect& rect, bool apply) const {
    const QMargins m = contentsMargins();
    const QRect r = rect.marginsRemoved(m);
    const QSize c = cell();
    const int sp = std::max(0, spacing());
    const int cols = columns(r.width());
    const int cw = std::max(1, (r.width() - (cols - 1) * sp) / cols);
    int n = 0;
    for (QLayoutItem* item : items_) {
        if (item->isEmpty()) continue;
        if (apply) {
            const int row = n / cols;
            const int col = n % cols;
            item->setGeometry(QRect(r.x() + col * (cw + sp), r.y() + row * (c.height() + sp), cw, c.height()));
        }
        ++n;
    }
    const int rows = (n + cols - 1) / cols;
    return m.top() + m.bottom() + (rows > 0 ? rows * c.height() + (rows - 1) * sp : 0);
}

int FlowGridLayout::heightForWidth(int width) const { return place(QRect(0, 0, width, 0), false); }

QSize FlowGridLayout::sizeHint() const {
    const QSize c = cell();
    const int sp = std::max(0, spacing());
    const QMargins m = contentsMargins();
    const int w = 10 * c.width() + 9 * sp + m.left() + m.right();
    return QSize(w, heightForWidth(w));
}

QSize FlowGridLayout::minimumSize() const {
    const QSize c = cell();
    const QMargins m = contentsMargins();
    return QSize(c.width() + m.left() + m.right(), c.height() + m.top() + m.bottom());
}

void FlowGridLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    place(rect, true);
}

// ---- LampField ----

LampField::LampField(const QString& prefix, QWidget* parent) : QWidget(parent), prefix_(prefix) {
    auto* grid = new FlowGridLayout(this);
    for (int i = 1; i <= kLamps; ++i) {
        auto* lamp = new PageLabel(Indexed(prefix, i), PageLabel::Mode::Elide, this);
        lamp->setAlignment(Qt::AlignCenter);
        lamp->setProperty("qelRole", QStringLiteral("lamp"));
        // Only the lamps the logic shows (the selected ones) appear.
        lamp->hide();
        grid->addWidget(lamp);
    }
}

}  // namespace qel
