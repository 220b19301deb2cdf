// The operator's boxes as real dialogs, and the splash's progress bar.
#pragma once

#include "operator.h"

#include <QPointer>
#include <QProgressBar>
#include <QWidget>

namespace qel {

class QtOperator final : public Operator {
public:
    explicit QtOperator(QWidget* parent = nullptr) : parent_(parent) {}
    void setParent(QWidget* parent) { parent_ = parent; }
    void setProgressBar(QProgressBar* bar) { bar_ = bar; }

    void message(const QString& title, const QString& text) override;
    bool confirm(const QString& title, const QString& text) override;
    QString input(const QString& title, const QString& prompt, const QString& initial) override;
    void progress(int value, int maximum) override;
    bool chooseColor(int32_t& color) override;

private:
    QPointer<QWidget> parent_;
    QPointer<QProgressBar> bar_;
};

}  // namespace qel
