#include "value_text.h"

#include "state.h"

namespace qel {

namespace {
bool Lost(int chamber) { return CommError[ChamberIndex(chamber)] != 0; }
}  // namespace

QString ValueText(int chamber, int channel, double value) {
    if (Lost(chamber)) return QStringLiteral("-.-");
    return QString::number(value, 'f', Chamber[ChamberIndex(chamber)].DP[ChannelIndex(channel)].size());
}

QString PVText(int chamber, int channel) {
    const ChamberRec& r = Chamber[ChamberIndex(chamber)];
    const int k = ChannelIndex(channel);
    if (!Lost(chamber)) {
        if (r.PVStat[k] & 2) return QStringLiteral("B.OUT");
        if (r.PVStat[k] & 8) return QStringLiteral("+OVER");
        if (r.PVStat[k] & 16) return QStringLiteral("-OVER");
    }
    return ValueText(chamber, channel, r.PV[k]);
}

QString StateWord(int chamber, int channel) {
    if (Lost(chamber)) return QStringLiteral("LOST");
    const int s = Chamber[ChamberIndex(chamber)].Status[ChannelIndex(channel)];
    if (s == 0) return QStringLiteral("STOP");
    if (s & 4) return QStringLiteral("HOLD");
    if (s & 64) return QStringLiteral("WAIT");
    if (s & 1) return QStringLiteral("FIX RUN");
    if (s & 2) return QStringLiteral("PROG RUN");
    return QString::number(s);
}

}  // namespace qel
