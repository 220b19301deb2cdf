#include "operator.h"

namespace qel {

void ScriptedOperator::message(const QString& title, const QString& text) {
    asked << QStringLiteral("message|") + title + u'|' + text;
}

bool ScriptedOperator::confirm(const QString& title, const QString& text) {
    asked << QStringLiteral("confirm|") + title + u'|' + text;
    if (confirmations.empty()) return defaultConfirm;
    const bool answer = confirmations.front();
    confirmations.pop_front();
    return answer;
}

QString ScriptedOperator::input(const QString& title, const QString& prompt, const QString&) {
    asked << QStringLiteral("input|") + title + u'|' + prompt;
    if (inputs.empty()) return QString();
    const QString answer = inputs.front();
    inputs.pop_front();
    return answer;
}

bool ScriptedOperator::chooseColor(int32_t& color) {
    asked << QStringLiteral("color|") + QString::number(color);
    if (colors.empty()) return false;
    color = colors.front();
    colors.pop_front();
    return true;
}

void ScriptedOperator::progress(int value, int maximum) {
    progressValue = value;
    progressMaximum = maximum;
}

}  // namespace qel
