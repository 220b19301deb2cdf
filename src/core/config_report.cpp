#include "config_report.h"

namespace qel {

namespace {
QStringList& Problems() {
    static QStringList list;
    return list;
}
}  // namespace

void ReportConfigProblem(const QString& text) {
    if (!Problems().contains(text)) Problems().append(text);
}

const QStringList& ConfigProblems() { return Problems(); }

void ClearConfigProblems() { Problems().clear(); }

}  // namespace qel
