#include "value_text.h"

#include "language.h"
#include "poll_walk.h"
#include "state.h"
#include "value_forms.h"
#include "vbtext.h"

namespace qel {

namespace {

// The English words, for a station whose language tables are not loaded.
const char* const kStateWords[] = {"",         "COMM ERROR",   "PROGRAM RUN", "WAIT RUN", "FIX RUN", "HOLD",
                                   "PROGRAM WAIT", "FIX WAIT", "END",         "FIX STOP", "STOP"};

}  // namespace

QString ScreenValue(double value, const QString& dp) {
    const QString places = dp.trimmed();
    return places.isEmpty() ? NumberText(value) : Format(value, QStringLiteral("###0.") + places);
}

ShownValue PVLook(const ChamberRec& r, int channel, const QString& dp, bool humidityRule) {
    const int k = ChannelIndex(channel);
    const int stat = r.PVStat[k];
    if (stat & 2) return {QStringLiteral("B.OUT"), colors::kYellow};
    if (stat & 8) return {QStringLiteral("+OVER"), colors::kRed};
    if (stat & 16) return humidityRule ? ShownValue{QStringLiteral("----"), colors::kCyan}
                                       : ShownValue{QStringLiteral("-OVER"), colors::kBlue};
    if (humidityRule && (r.PVStat[0] & 2)) return {QStringLiteral("----"), colors::kCyan};
    return {ScreenValue(r.PV[k], dp), colors::kWhite};
}

bool SlotInUse(int chamber) {
    const int i = ChamberIndex(chamber);
    return Val(ChamberUse[i]) != 0 && Val(ChamberAddress[i]) != 0;
}

QString DeadWord(int chamber) {
    const int i = ChamberIndex(chamber);
    if (Val(ChamberUse[i]) == 0) return QStringLiteral("OFF");
    if (!HasPollBlock(ChamberModel[i])) return QStringLiteral("NOT POLLED");
    if (CommError[i] != 0) return QStringLiteral("LOST");
    return QString();
}

QString ValueText(int chamber, int channel, double value) {
    if (!DeadWord(chamber).isEmpty()) return QStringLiteral("-.-");
    return QString::number(value, 'f', Chamber[ChamberIndex(chamber)].DP[ChannelIndex(channel)].size());
}

QString PVText(int chamber, int channel) {
    const ChamberRec& r = Chamber[ChamberIndex(chamber)];
    if (!DeadWord(chamber).isEmpty()) return QStringLiteral("-.-");
    const ShownValue v = PVLook(r, channel, r.DP[ChannelIndex(channel)], false);
    // Without places the headless table still prints the value as the channel keeps it.
    return v.fore == colors::kWhite ? ValueText(chamber, channel, r.PV[ChannelIndex(channel)]) : v.text;
}

int StateKey(int status, int fixMode) {
    switch (status) {
        case 1:
            return 2;
        case 65:
            return 3;
        case 2:
            return 4;
        case 5:
            return 5;
        case 17:
            return 6;
        case 18:
            return 7;
        case 0:
        case 64:
        case 128:
        case 192:
        case 256:
            if ((status == 128 || status == 192) && fixMode == 0) return 8;
            return fixMode != 0 ? 9 : 10;
        default:
            return 0;
    }
}

QString StateWord(int chamber, int channel) {
    const QString dead = DeadWord(chamber);
    if (!dead.isEmpty()) return dead;
    const ChamberRec& r = Chamber[ChamberIndex(chamber)];
    const int k = ChannelIndex(channel);
    const int key = StateKey(r.Status[k], r.FixMode[k]);
    if (key == 0) return QString::number(r.Status[k]);
    const QString word = Lang(QStringLiteral("PublicForm"), key);
    return word.isEmpty() ? QString::fromLatin1(kStateWords[key]) : word;
}

}  // namespace qel
