#include "controls.h"

namespace qel {

namespace {
const Control kDefault{};
}

QString Indexed(const QString& name, int index) { return name + u'(' + QString::number(index) + u')'; }

const Control& ControlSet::get(const QString& name) const {
    const auto it = controls_.constFind(name);
    return it == controls_.constEnd() ? kDefault : *it;
}

Control& ControlSet::slot(const QString& name) { return controls_[name]; }

void ControlSet::touched() { ++revision_; }

void ControlSet::setCaption(const QString& name, const QString& caption) {
    Control& c = slot(name);
    if (c.caption != caption) {
        c.caption = caption;
        touched();
    }
    for (const Mirror& m : mirrors_.value(name)) setCaption(m.target, caption);
}

void ControlSet::setFore(const QString& name, Color color) {
    Control& c = slot(name);
    if (!(c.fore == color)) {
        c.fore = color;
        touched();
    }
    for (const Mirror& m : mirrors_.value(name))
        if (m.fore) setFore(m.target, color);
}

void ControlSet::setBack(const QString& name, Color color) {
    Control& c = slot(name);
    if (!(c.back == color)) {
        c.back = color;
        touched();
    }
    for (const Mirror& m : mirrors_.value(name))
        if (m.back) setBack(m.target, color);
}

void ControlSet::setVisible(const QString& name, bool visible) {
    Control& c = slot(name);
    if (c.visible != visible) {
        c.visible = visible;
        touched();
    }
}

void ControlSet::setValue(const QString& name, bool value) {
    Control& c = slot(name);
    if (c.value != value) {
        c.value = value;
        touched();
    }
}

void ControlSet::addMirror(const QString& source, const Mirror& mirror) { mirrors_[source].append(mirror); }

void ControlSet::clear() {
    controls_.clear();
    mirrors_.clear();
    touched();
}

}  // namespace qel
