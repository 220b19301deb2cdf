#include "control_binding.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPalette>

namespace qel {

QColor ToQColor(const Color& c) {
    const QPalette p = QApplication::palette();
    switch (c.kind) {
        case Color::System::Rgb:
            return QColor(c.r, c.g, c.b);
        case Color::System::Highlight:
            return p.color(QPalette::Highlight);
        case Color::System::HighlightText:
            return p.color(QPalette::HighlightedText);
        case Color::System::ButtonFace:
            return p.color(QPalette::Button);
        case Color::System::Info:
            return p.color(QPalette::ToolTipBase);
        case Color::System::None:
            break;
    }
    return QColor();
}

namespace {

// The style sheet of the two colours; "" when neither is set.
QString ColorSheet(const Control& c) {
    QString sheet;
    const QColor fore = ToQColor(c.fore);
    const QColor back = ToQColor(c.back);
    if (fore.isValid()) sheet += QStringLiteral("color: %1;").arg(fore.name());
    if (back.isValid()) sheet += QStringLiteral("background-color: %1;").arg(back.name());
    return sheet;
}

}  // namespace

void ApplyControl(QWidget* widget, const Control& control) {
    if (!widget) return;
    if (auto* label = qobject_cast<QLabel*>(widget)) {
        if (label->text() != control.caption) label->setText(control.caption);
    } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
        if (!control.caption.isEmpty() && button->text() != control.caption) button->setText(control.caption);
        if (button->isCheckable() && button->isChecked() != control.value) button->setChecked(control.value);
    }
    // Colours go through a property so that a widget's own style sheet (its
    // font, border, padding) is kept: the colour part is added behind it.
    const QString sheet = ColorSheet(control);
    if (widget->property("qelColorSheet").toString() != sheet) {
        QString base = widget->property("qelBaseSheet").toString();
        if (!widget->property("qelBaseSheet").isValid()) {
            base = widget->styleSheet();
            widget->setProperty("qelBaseSheet", base);
        }
        widget->setProperty("qelColorSheet", sheet);
        if (sheet.isEmpty()) {
            widget->setStyleSheet(base);
        } else {
            // By name, so that the colours do not spill onto the children;
            // names like "PV2000(1)" need the quoted form of the selector.
            // A sheet of bare declarations cannot stand beside a rule: it
            // becomes the rule for every widget it applied to before.
            const QString rules = base.trimmed().isEmpty() || base.contains(u'{')
                                      ? base
                                      : QStringLiteral("* { %1 }").arg(base);
            widget->setStyleSheet(rules + QStringLiteral(" *[objectName=\"%1\"] { %2 }").arg(widget->objectName(), sheet));
        }
    }
    if (widget->isHidden() == control.visible) widget->setVisible(control.visible);
}

void ControlBinding::collect(QWidget* root) {
    widgets_.clear();
    if (!root) return;
    if (!root->objectName().isEmpty()) widgets_.insert(root->objectName(), root);
    for (QWidget* w : root->findChildren<QWidget*>())
        if (!w->objectName().isEmpty()) widgets_.insert(w->objectName(), w);
    revision_ = ~uint64_t{0};
}

bool ControlBinding::apply(const ControlSet& set, bool force) {
    if (!force && set.revision() == revision_) return false;
    revision_ = set.revision();
    for (auto it = widgets_.cbegin(); it != widgets_.cend(); ++it)
        if (set.has(it.key())) ApplyControl(it.value(), set.get(it.key()));
    return true;
}

}  // namespace qel
