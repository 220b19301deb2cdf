#include "user_tag.h"

#include "config_report.h"
#include "errorlog.h"
#include "folders.h"
#include "lamp_select.h"
#include "profile.h"
#include "runtime_error.h"
#include "settings_report.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

#include <QFile>
#include <QRegularExpression>
#include <algorithm>

namespace qel {

namespace {

const QString kUserTag = QStringLiteral("SetUserTag.ini");

QString TwoDigits(int n) { return QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0')); }

void StoreRows(const std::array<ChamberRow, 30>& rows);

}  // namespace

namespace {

bool LooksNumeric(const QString& text) {
    static const QRegularExpression number(QStringLiteral("^[-+]?[0-9]"));
    return number.match(text).hasMatch();
}

// MAX_CHAMBER_NO as read, told when it leaves nothing or too much to poll.
void CheckMaxChamberNo(const ProfileFile& ini, const QString& text) {
    if (!ini.contains(QStringLiteral("Set"), QStringLiteral("MAX_CHAMBER_NO")))
        ReportConfigProblem(kUserTag +
                            QStringLiteral(" has no MAX_CHAMBER_NO in [Set]: no chamber is set up, so none is polled"));
    else if (!LooksNumeric(text))
        ReportConfigProblem(QStringLiteral("MAX_CHAMBER_NO %1 in %2 is not a number: no chamber is polled")
                                .arg(Quoted(text), kUserTag));
    else if (MaxChamberNo == 0)
        ReportConfigProblem(
            QStringLiteral("MAX_CHAMBER_NO is 0 in %1: no chamber is set up, so none is polled").arg(kUserTag));
    else if (MaxChamberNo < 0)
        ReportConfigProblem(
            QStringLiteral("MAX_CHAMBER_NO %1 in %2 is outside 0 to 30: no chamber is polled").arg(text, kUserTag));
    else if (MaxChamberNo > kMaxChambers)
        ReportConfigProblem(
            QStringLiteral("MAX_CHAMBER_NO %1 in %2 is outside 0 to 30: only chambers 1 to 30 are polled")
                .arg(text, kUserTag));
}

// A chamber in use needs an address a controller answers to and a model
// the station has a poll block for.
void CheckAddress(int chamber, const QString& text) {
    if (!IsSlaveAddress(text))
        ReportConfigProblem(QStringLiteral("Chamber %1 has address %2 in %3, not a slave address from 1 to 247: the "
                                           "chamber cannot be reached")
                                .arg(chamber)
                                .arg(Quoted(text), kUserTag));
}

void CheckModel(int chamber, const QString& model) {
    if (model.isEmpty())
        ReportConfigProblem(
            QStringLiteral("Chamber %1 has no model in %2: it is not polled").arg(chamber).arg(kUserTag));
    else if (!IsKnownModel(model))
        ReportConfigProblem(QStringLiteral("Chamber %1 has model %2 in %3: it is not polled")
                                .arg(chamber)
                                .arg(Quoted(model), kUserTag));
}

}  // namespace

void ReadUserTag() {
    // The first settings read of a start-up: the operator's list starts afresh.
    ClearConfigProblems();
    bool stopTold = false;  // why the loader ends early is told once
    try {
        const ProfileFile ini(SettingsPath(kUserTag));
        const auto read = [&ini](const QString& section, const QString& key, const char* def, int buffer, int size) {
            return ini.read(section, key, QLatin1String(def), buffer, size);
        };
        const QString fileProblem = FileProblem(ini, kUserTag);
        if (!fileProblem.isEmpty()) {
            ReportConfigProblem(fileProblem + QStringLiteral(": no chamber is set up, so none is polled"));
            stopTold = true;
        }

        const QString maxText = read(QStringLiteral("Set"), QStringLiteral("MAX_CHAMBER_NO"), "0", 5, 10);
        try {
            MaxChamberNo = ToInt16(Val(maxText));
        } catch (const RuntimeError&) {
            if (!stopTold)
                ReportConfigProblem(
                    QStringLiteral("MAX_CHAMBER_NO %1 in %2 is outside 0 to 30: no chamber is polled, and "
                                   "%2 is read no further")
                        .arg(maxText, kUserTag));
            stopTold = true;
            throw;
        }
        if (fileProblem.isEmpty()) CheckMaxChamberNo(ini, maxText);
        const int last = std::min<int>(MaxChamberNo, kMaxChambers);

        for (int i = 1; i <= kMaxChambers; ++i) {
            const int c = i - 1;
            const QString key = QString::number(i);
            // A text without its terminator ends the loader: chambers not yet
            // read have no model, so they are not polled.
            const auto text = [&](const QString& section, const char* def, int buffer, int size, QChar terminator,
                                  bool beforeModel) {
                const QString value = read(section, key, def, buffer, size);
                if (!value.contains(terminator) && !stopTold) {
                    const int firstLost = beforeModel ? i : i + 1;
                    QString why = TerminatorProblem(
                        ini, kUserTag, section, key, QStringLiteral("%1 of chamber %2").arg(section, key),
                        QStringLiteral("%1 of chamber %2").arg(section, key), terminator, std::min(buffer, size - 1));
                    why += QStringLiteral(": %1 is read no further").arg(kUserTag);
                    if (firstLost <= last)
                        why += QStringLiteral(", so ") + ChambersAre(firstLost, last) + QStringLiteral(" not polled");
                    ReportConfigProblem(why);
                    stopTold = true;
                }
                return CutAtTerminator(value, terminator);
            };

            ChamberUse[c] =
                NumberText(Val(read(QStringLiteral("Set"), QStringLiteral("Chamber ") + TwoDigits(i), "1", 5, 10)));
            const bool inUse = i <= last && Val(ChamberUse[c]) != 0;
            const QString address =
                read(QStringLiteral("AddNo"), QStringLiteral("AddressNo ") + TwoDigits(i), "1", 5, 10);
            ChamberAddress[c] = NumberText(Val(address));
            if (inUse) CheckAddress(i, address);
            ChamberName[c] = text(QStringLiteral("Name"), "1", 30, 31, u'/', true);
            ChamberIP[c] = text(QStringLiteral("IPAddNo"), "", 30, 31, u'E', true);
            ChamberModel[c] = text(QStringLiteral("Model"), "", 30, 31, u'/', true);
            Chamber[c].ChannelCount = ChannelCountOf(ChamberModel[c]);
            if (inUse) CheckModel(i, ChamberModel[c]);
            ChamberBoard[c] = NumberText(Val(read(QStringLiteral("Board"), key, "", 5, 10)));
            ChamberVariant[c] = NumberText(Val(read(QStringLiteral("MODEL_ZZ"), key, "", 5, 10)));
            for (int n = 1; n <= kMaxChannels; ++n)
                Chamber[c].DP[n - 1] = text(QStringLiteral("SDP_%1").arg(n), "", 5, 10, u'/', false);
            for (int n = 1; n <= kMaxChannels; ++n)
                ChamberUnit[n - 1][c] = text(QStringLiteral("UNIT_%1").arg(n), "", 30, 10, u'/', false);
        }
    } catch (const RuntimeError& e) {
        if (!stopTold)
            ReportConfigProblem(QStringLiteral("%1 could not be read to its end (%2)").arg(kUserTag, e.description()));
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
