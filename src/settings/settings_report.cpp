#include "settings_report.h"

namespace qel {

QString Quoted(const QString& text) { return u'"' + text + u'"'; }

QString FileProblem(const ProfileFile& ini, const QString& fileName) {
    switch (ini.shape()) {
        case ProfileFile::Shape::Text:
            return QString();
        case ProfileFile::Shape::Missing:
            return fileName + QStringLiteral(" is missing");
        case ProfileFile::Shape::Unreadable:
            return fileName + QStringLiteral(" cannot be opened");
        case ProfileFile::Shape::Empty:
            return fileName + QStringLiteral(" is empty");
        case ProfileFile::Shape::Utf16:
            return fileName + QStringLiteral(" could not be read as text (UTF-16? It must be saved as ANSI/CP949)");
        case ProfileFile::Shape::Binary:
            return fileName + QStringLiteral(" could not be read as text (it holds binary data)");
    }
    return QString();
}

QString TerminatorProblem(const ProfileFile& ini, const QString& fileName, const QString& section, const QString& key,
                          const QString& label, const QString& note, QChar terminator, int limit) {
    if (!ini.contains(section, key)) {
        const QString absent = QStringLiteral("%1 has no key %2 in [%3]").arg(fileName, key, section);
        return note.isEmpty() ? absent : absent + QStringLiteral(" (%1)").arg(note);
    }
    const QString value = ini.fullValue(section, key);
    const QString head = QStringLiteral("%1 %2 in %3").arg(label, Quoted(value), fileName);
    if (value.contains(terminator))
        return head +
               QStringLiteral(" is too long (only %1 characters fit before the \"%2\")").arg(limit - 1).arg(terminator);
    return head + QStringLiteral(" lacks its closing \"%1\"").arg(terminator);
}

QString OverflowProblem(const QString& fileName, const QString& key, const QString& text, double value, double lowest,
                        double highest) {
    const QString head = QStringLiteral("%1 %2 in %3").arg(key, text, fileName);
    if (value > 0) return head + QStringLiteral(" is too large (at most %1)").arg(highest, 0, 'f', 0);
    return head + QStringLiteral(" is too small (at least %1)").arg(lowest, 0, 'f', 0);
}

bool IsKnownModel(const QString& model) {
    return model == u"QEL2000" || model == u"QEL2100" || model == u"QEL2200" || model == u"QEL2300" ||
           model == u"QEL2400";
}

QString ChambersAre(int first, int last) {
    if (first == last) return QStringLiteral("chamber %1 is").arg(first);
    return QStringLiteral("chambers %1 to %2 are").arg(first).arg(last);
}

}  // namespace qel
