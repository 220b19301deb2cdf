#include "user_tag.h"

#include "errorlog.h"
#include "folders.h"
#include "lamp_select.h"
#include "profile.h"
#include "runtime_error.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <QFile>
#include <algorithm>

namespace qel {

namespace {

const QString kUserTag = QStringLiteral("SetUserTag.ini");

QString TwoDigits(int n) { return QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0')); }

void StoreRows(const std::array<ChamberRow, 30>& rows);

}  // namespace

void ReadUserTag() {
    try {
        const ProfileFile ini(SettingsPath(kUserTag));
        const auto read = [&ini](const QString& section, const QString& key, const char* def, int buffer, int size) {
            return ini.read(section, key, QLatin1String(def), buffer, size);
        };

        MaxChamberNo = ToInt16(Val(read(QStringLiteral("Set"), QStringLiteral("MAX_CHAMBER_NO"), "0", 5, 10)));
        for (int i = 1; i <= kMaxChambers; ++i) {
            const int c = i - 1;
            const QString key = QString::number(i);
            ChamberUse[c] =
                NumberText(Val(read(QStringLiteral("Set"), QStringLiteral("Chamber ") + TwoDigits(i), "1", 5, 10)));
            ChamberAddress[c] =
                NumberText(Val(read(QStringLiteral("AddNo"), QStringLiteral("AddressNo ") + TwoDigits(i), "1", 5, 10)));
            ChamberName[c] = CutAtTerminator(read(QStringLiteral("Name"), key, "1", 30, 31), u'/');
            ChamberIP[c] = CutAtTerminator(read(QStringLiteral("IPAddNo"), key, "", 30, 31), u'E');
            ChamberModel[c] = CutAtTerminator(read(QStringLiteral("Model"), key, "", 30, 31), u'/');
            Chamber[c].ChannelCount = ChannelCountOf(ChamberModel[c]);
            ChamberBoard[c] = NumberText(Val(read(QStringLiteral("Board"), key, "", 5, 10)));
            ChamberVariant[c] = NumberText(Val(read(QStringLiteral("MODEL_ZZ"), key, "", 5, 10)));
            for (int n = 1; n <= kMaxChannels; ++n)
                Chamber[c].DP[n - 1] = CutAtTerminator(read(QStringLiteral("SDP_%1").arg(n), key, "", 5, 10), u'/');
            for (int n = 1; n <= kMaxChannels; ++n)
                ChamberUnit[n - 1][c] = CutAtTerminator(read(QStringLiteral("UNIT_%1").arg(n), key, "", 30, 10), u'/');
        }
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("modFunc.ReadUserTag"));
    }
}

void StoreChamberTable(const std::array<ChamberRow, 30>& rows) {
    try {
        StoreRows(rows);
    } catch (const RuntimeError& e) {
        ErrorTail(e.description(), QStringLiteral("frmUserTag.Command1_Click_Err"));
    }
}

namespace {
void StoreRows(const std::array<ChamberRow, 30>& rows) {
    // Some 200 keys: edited in memory in the same order and saved once.
    ProfileEditor ini(SettingsPath(kUserTag));
    for (int i = 1; i <= kMaxChambers; ++i) {
        const int c = i - 1;
        const ChamberRow& row = rows[static_cast<size_t>(c)];
        const QString key = QString::number(i);

        ChamberUse[c] = row.used ? key : QStringLiteral("0");
        if (row.used) MaxChamberNo = static_cast<int16_t>(i);
        ini.write(QStringLiteral("Set"), QStringLiteral("Chamber ") + TwoDigits(i), ChamberUse[c]);

        ChamberBoard[c] = row.board;
        ini.write(QStringLiteral("Board"), key, row.board);
        ChamberVariant[c] = row.variant;
        ini.write(QStringLiteral("MODEL_ZZ"), key, row.variant);
        ChamberName[c] = row.name;
        ini.write(QStringLiteral("Name"), key, row.name + u'/');
        if (Protocol == QLatin1String("ETH")) {
            ChamberIP[c] = row.ip;
            ini.write(QStringLiteral("IPAddNo"), key, row.ip + u'E');
        }
        ChamberAddress[c] = row.address;
        ini.write(QStringLiteral("AddNo"), QStringLiteral("AddressNo ") + TwoDigits(i), row.address);

        if (row.model != ChamberModel[c]) WriteDefaultLampEntries(static_cast<int16_t>(i), row.model, row.board);
        ChamberModel[c] = row.model;
        Chamber[c].ChannelCount = ChannelCountOf(row.model);
        ini.write(QStringLiteral("Model"), key, row.model + u'/');

        if (row.used && !row.name.isEmpty()) MakeChamberFolders(row.name);
        QFile::remove(AppPath + key + QStringLiteral("OPData.csv"));
    }
    ini.write(QStringLiteral("Set"), QStringLiteral("MAX_CHAMBER_NO"), QString::number(MaxChamberNo));
    SaveSettings(ini);
}
}  // namespace

void StoreDecimalPlaces(int16_t chamber, int channel, int places) {
    QString& dp = Chamber[ChamberIndex(chamber)].DP[ChannelIndex(channel)];
    dp = QString(std::max(places, 0), u'0');
    WriteSetting(QStringLiteral("SDP_%1").arg(channel), QString::number(chamber), dp + u'/', SettingsPath(kUserTag));
}

void StoreUnit(int16_t chamber, int channel, const QString& caption) {
    ChamberUnit[ChannelIndex(channel)][ChamberIndex(chamber)] = caption;
    WriteSetting(QStringLiteral("UNIT_%1").arg(channel), QString::number(chamber), caption + u'/',
                 SettingsPath(kUserTag));
}

}  // namespace qel
