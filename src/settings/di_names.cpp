#include "di_names.h"

#include "config_report.h"
#include "errorlog.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_report.h"
#include "settings_state.h"
#include "state.h"
#include "value_forms.h"

#include <algorithm>

namespace qel {

namespace {
const QString kDINames = QStringLiteral("SetDIErrorName.ini");
QString Section(int chamber) { return QStringLiteral("DIERRORNAME_") + QString::number(chamber); }
}  // namespace

void ReadDIErrorName() {
    bool stopTold = false;  // why the loader ends early is told once
    try {
        const ProfileFile ini(SettingsPath(kDINames));
        if (const QString whole = FileProblem(ini, kDINames); !whole.isEmpty()) {
            ReportConfigProblem(whole + QStringLiteral(": the DI alarms have no names"));
            stopTold = true;
        }
        for (int c = 1; c <= kMaxChambers; ++c)
            for (int n = 1; n <= 32; ++n) {
                const QString key = QString::number(n);
                const QString name = ini.read(Section(c), key, QString(), 100, 100);
                if (!name.contains(u'/') && !stopTold) {
                    const QString what = QStringLiteral("DI name %1 of chamber %2").arg(n).arg(c);
                    ReportConfigProblem(TerminatorProblem(ini, kDINames, Section(c), key, what, what, u'/', 99) +
                                        QStringLiteral(": the DI alarms from there on have no names"));
                    stopTold = true;
                }
                DIErrorName[static_cast<size_t>(c - 1)][static_cast<size_t>(n - 1)] = CutAtTerminator(name, u'/');
            }
    } catch (const RuntimeError& e) {
        if (!stopTold)
            ReportConfigProblem(QStringLiteral("%1 could not be read to its end (%2)").arg(kDINames, e.description()));
        ErrorTail(e.description(), QStringLiteral("modFunc.ReadDIErrorName"));
    }
}

int DINameRowCount(int16_t chamber) {
    return ChamberBoard[static_cast<size_t>(ChamberIndex(chamber))] == QLatin1String("1") ? 32 : 16;
}

QStringList LoadDINames(int16_t chamber) {
    const auto& names = DIErrorName[static_cast<size_t>(ChamberIndex(chamber))];
    QStringList rows;
    for (int n = 0; n < DINameRowCount(chamber); ++n) rows << names[static_cast<size_t>(n)];
    return rows;
}

void StoreDINames(int16_t chamber, const QStringList& rows) {
    auto& names = DIErrorName[static_cast<size_t>(ChamberIndex(chamber))];
    ProfileEditor ini(SettingsPath(kDINames));
    const int count = static_cast<int>(std::min<qsizetype>(rows.size(), 32));
    for (int n = 1; n <= count; ++n) {
        names[static_cast<size_t>(n - 1)] = rows[n - 1];
        ini.write(Section(chamber), QString::number(n), rows[n - 1] + u'/');
    }
    SaveSettings(ini);
}

}  // namespace qel
