#include "controls.h"

namespace qel {

namespace {
const Control kDefault{};

uint64_t NewGeneration() {
    static uint64_t last = 0;
    return ++last;
}
}  // namespace

ControlSet::ControlSet() : generation_(NewGeneration()) {}

void AppendIndex(QString& out, int index) {
    out.append(u'(');
    if (index >= 0 && index < 1000) {
        // Pages name their controls on every refresh: small indexes without a temporary string.
        if (index >= 100) out.append(QChar(u'0' + index / 100));
        if (index >= 10) out.append(QChar(u'0' + index / 10 % 10));
        out.append(QChar(u'0' + index % 10));
    } else {
        out.append(QString::number(index));
    }
    out.append(u')');
}

QString Indexed(const QString& name, int index) {
    QString out;
    out.reserve(name.size() + 8);
    out.append(name);
    AppendIndex(out, index);
    return out;
}

const Control& ControlSet::get(const QString& name) const {
    const auto it = controls_.find(name);
    return it == controls_.end() ? kDefault : it->second.control;
}

bool ControlSet::has(const QString& name) const {
    const auto it = controls_.find(name);
    return it != controls_.end() && it->second.shown;
}

QStringList ControlSet::names() const {
    QStringList out;
    for (const auto& [name, e] : controls_)
        if (e.shown) out.append(name);
    return out;
}

ControlSet::Entry& ControlSet::slot(const QString& name) {
    Entry& e = controls_[name];
    e.shown = true;
    return e;
}

void ControlSet::touched() { ++revision_; }

// The mirrors are copied before following them: a mirror's target may be
// new to the table, and setting it may add to the mirror lists.
void ControlSet::setCaption(const QString& name, const QString& caption) {
    Entry& e = slot(name);
    if (e.control.caption != caption) {
        e.control.caption = caption;
        touched();
    }
    if (e.mirrors.isEmpty()) return;
    const QList<Mirror> mirrors = e.mirrors;
    for (const Mirror& m : mirrors) setCaption(m.target, caption);
}

void ControlSet::setFore(const QString& name, Color color) {
    Entry& e = slot(name);
    if (!(e.control.fore == color)) {
        e.control.fore = color;
        touched();
    }
    if (e.mirrors.isEmpty()) return;
    const QList<Mirror> mirrors = e.mirrors;
    for (const Mirror& m : mirrors)
        if (m.fore) setFore(m.target, color);
}

void ControlSet::setBack(const QString& name, Color color) { setBack(&slot(name), color); }

void ControlSet::setBack(Entry* e, Color color) {
    if (!(e->control.back == color)) {
        e->control.back = color;
        touched();
    }
    if (e->mirrors.isEmpty()) return;
    const QList<Mirror> mirrors = e->mirrors;
    for (const Mirror& m : mirrors)
        if (m.back) setBack(m.target, color);
}

void ControlSet::setVisible(const QString& name, bool visible) {
    Control& c = slot(name).control;
    if (c.visible != visible) {
        c.visible = visible;
        touched();
    }
}

void ControlSet::setValue(const QString& name, bool value) {
    Control& c = slot(name).control;
    if (c.value != value) {
        c.value = value;
        touched();
    }
}

void ControlSet::addMirror(const QString& source, const Mirror& mirror) { controls_[source].mirrors.append(mirror); }

void ControlSet::clear() {
    controls_.clear();
    generation_ = NewGeneration();
    touched();
}

}  // namespace qel
