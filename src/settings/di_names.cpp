#include "di_names.h"

#include "errorlog.h"
#include "profile.h"
#include "runtime_error.h"
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
    try {
        const ProfileFile ini(SettingsPath(kDINames));
        for (int c = 1; c <= kMaxChambers; ++c)
            for (int n = 1; n <= 32; ++n)
                DIErrorName[static_cast<size_t>(c - 1)][static_cast<size_t>(n - 1)] =
                    CutAtTerminator(ini.read(Section(c), QString::number(n), QString(), 100, 100), u'/');
    } catch (const RuntimeError& e) {
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
