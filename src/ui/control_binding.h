// Copies a control's state (controls.h) onto its widget: caption, colours,
// visibility and, for a two-state key, whether it is down. Widgets carry
// the control's name as their object name, so that a view binds by name.
#pragma once

#include "controls.h"

#include <QColor>
#include <QHash>
#include <QWidget>

namespace qel {

// The colour on this desktop; invalid for a colour that is not set.
QColor ToQColor(const Color& c);

// Text for labels and keys, fore and back colours, visibility, and the
// checked state of a checkable key. Only what differs from the widget's
// present look is touched, so a repaint of an unchanged control costs a
// few compares. A widget that is hidden stays so when its parent is shown.
void ApplyControl(QWidget* widget, const Control& control);

// Binds every child widget of `root` whose object name is a control of
// `set` (and `root` itself when it is one): one call repaints them all.
class ControlBinding {
public:
    // Widgets named in `root` at this moment; call again after adding some.
    void collect(QWidget* root);
    // Repaints when the set changed since the last call; true when it did.
    bool apply(const ControlSet& set, bool force = false);
    QWidget* widget(const QString& name) const { return widgets_.value(name); }

private:
    QHash<QString, QWidget*> widgets_;
    uint64_t revision_ = ~uint64_t{0};
};

}  // namespace qel
