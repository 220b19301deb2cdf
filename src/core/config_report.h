// What the station found wrong in its settings at start-up, in words an
// operator understands. The loaders keep their documented fallbacks (a
// missing file still means the defaults); this list only says so. The
// headless station prints it on stderr, the window shows it in its status
// panel, each line once.
#pragma once

#include <QString>
#include <QStringList>

namespace qel {

// Adds one line; a line already in the list is not added twice.
void ReportConfigProblem(const QString& text);

// The lines reported since the last clear, in order.
const QStringList& ConfigProblems();

// Empties the list (at the start of every reading of the settings).
void ClearConfigProblems();

}  // namespace qel
