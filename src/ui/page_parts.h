// Building blocks of the chamber page: labels that keep any text inside
// their field, keys whose checked state only the page logic sets, and the
// lamp field. Each carries its control name as object name, so that a
// ControlBinding finds it.
#pragma once

#include <QLabel>
#include <QLayout>
#include <QList>
#include <QPushButton>
#include <QWidget>
#include <functional>

namespace qel {

// A label that never spills over its neighbours. Fit: the font shrinks,
// down to half its size, until the text fits the field in width and
// height; past that, and in Elide mode at once, the text is cut with an
// ellipsis and the whole of it shows as a tool tip. text() always holds the
// whole caption. With `onClick` set, a left click calls it.
class PageLabel : public QLabel {
public:
    enum class Mode { Fit, Elide };
    PageLabel(const QString& name, Mode mode, QWidget* parent = nullptr);

    std::function<void()> onClick;

    // What the field shows at its present size: the whole text or its cut.
    QString visibleText() const;
    // The font the text is painted in at the present size.
    QFont visibleFont() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QSize chrome() const;
    QRect textRect() const;

    Mode mode_;
};

// A key of the page. Checkable keys are never toggled by Qt on a click: the
// page logic's value is the state they show (ApplyControl sets it). A
// caption wider than the key is cut with an ellipsis.
class KeyButton : public QPushButton {
public:
    explicit KeyButton(const QString& name, QWidget* parent = nullptr);
    QSize minimumSizeHint() const override;

protected:
    void nextCheckState() override {}
    void paintEvent(QPaintEvent* event) override;
};

// Lays its visible widgets out in a grid of equal cells, row by row, with
// as many columns as the width holds; hidden widgets take no place. A cell
// is as wide as the widest item, but never wider than `maxCellChars`
// average characters of the parent's font.
class FlowGridLayout : public QLayout {
public:
    explicit FlowGridLayout(QWidget* parent, int maxCellChars = 10);
    ~FlowGridLayout() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override { return items_.value(index); }
    QLayoutItem* takeAt(int index) override;
    Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& rect) override;

private:
    QSize cell() const;
    int columns(int width) const;
    int place(const QRect& rect, bool apply) const;

    QList<QLayoutItem*> items_;
    int maxCellChars_;
};

// One lamp set of the page: lamps "<prefix>(1)" to "<prefix>(105)", each a
// small box with its caption in it, hidden until the logic shows it, and
// filled from the first position.
class LampField : public QWidget {
public:
    static constexpr int kLamps = 105;
    LampField(const QString& prefix, QWidget* parent = nullptr);
    const QString& prefix() const { return prefix_; }

private:
    QString prefix_;
};

}  // namespace qel
