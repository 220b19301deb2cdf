#include "modal_form.h"

#include <algorithm>

namespace qel {

void ModalForm::listClick(const QString& name, int index) {
    const int count = static_cast<int>(items_.value(name).size());
    lists_.insert(name, index >= 0 && index < count ? index : -1);
}

bool ModalForm::accepts(const QString&, const QString&) const { return true; }

void ModalForm::opened() {
    open_ = true;
    poll_.start();
}

void ModalForm::unload() {
    if (!open_) return;
    open_ = false;
    poll_.finish();
    if (unloaded) unloaded();
}

void ModalForm::setList(const QString& name, const QStringList& items, int index) {
    items_.insert(name, items);
    listClick(name, index);
}

bool WholeNumberText(const QString& text, bool negative, double min, double max) {
    QStringView digits(text);
    if (negative && digits.startsWith(u'-')) digits = digits.mid(1);
    if (!std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; })) return false;
    if (digits.isEmpty()) return true;
    const double value = text.toDouble();
    return value >= min && value <= max;
}

}  // namespace qel
