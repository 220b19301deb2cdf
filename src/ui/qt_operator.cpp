#include "qt_operator.h"

#include "control_binding.h"

#include <QColorDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QProgressBar>

namespace qel {

void QtOperator::message(const QString& title, const QString& text) { QMessageBox::information(parent_, title, text); }

bool QtOperator::confirm(const QString& title, const QString& text) {
    return QMessageBox::question(parent_, title, text, QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel) ==
           QMessageBox::Ok;
}

QString QtOperator::input(const QString& title, const QString& prompt, const QString& initial) {
    bool ok = false;
    const QString text = QInputDialog::getText(parent_, title, prompt, QLineEdit::Normal, initial, &ok);
    return ok ? text : QString();
}

void QtOperator::progress(int value, int maximum) {
    if (!bar_) return;
    bar_->setMaximum(std::max(maximum, 1));
    bar_->setValue(std::min(value, std::max(maximum, 1)));
}

bool QtOperator::chooseColor(int32_t& color) {
    const QColor start = ToQColor(Color::fromValue(color));
    const QColor chosen = QColorDialog::getColor(start, parent_);
    if (!chosen.isValid()) return false;
    color = chosen.blue() << 16 | chosen.green() << 8 | chosen.red();
    return true;
}

}  // namespace qel
