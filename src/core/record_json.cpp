#include "record_json.h"

#include "state.h"
#include "vbtext.h"

#include <QJsonArray>

namespace qel {

namespace {

template <typename T, size_t N>
QJsonArray Arr(const std::array<T, N>& a) {
    QJsonArray out;
    for (const T& v : a) {
        if constexpr (std::is_same_v<T, QString>)
            out.append(v);
        else if constexpr (std::is_same_v<T, QDateTime>)
            out.append(v.isValid() ? QJsonValue(FormatDate(v, QStringLiteral("yyyy-mm-dd hh:mm:ss"))) : QJsonValue(0));
        else
            out.append(static_cast<double>(v));
    }
    return out;
}

}  // namespace

QJsonObject ChamberRecJson(int16_t chamber) {
    const int i = ChamberIndex(chamber);
    const ChamberRec& r = Chamber[i];
    QJsonObject o;
    o[QStringLiteral("Chamber")] = chamber;
    o[QStringLiteral("PV")] = Arr(r.PV);
    o[QStringLiteral("SP")] = Arr(r.SP);
    o[QStringLiteral("TSP")] = Arr(r.TSP);
    o[QStringLiteral("MV")] = Arr(r.MV);
    o[QStringLiteral("DP")] = Arr(r.DP);
    o[QStringLiteral("Status")] = Arr(r.Status);
    o[QStringLiteral("PTNo")] = Arr(r.PTNo);
    o[QStringLiteral("SegNo")] = Arr(r.SegNo);
    o[QStringLiteral("RunTime")] = Arr(r.RunTime);
    o[QStringLiteral("SegTime")] = Arr(r.SegTime);
    o[QStringLiteral("SegTimeSet")] = Arr(r.SegTimeSet);
    o[QStringLiteral("PTRptSet")] = Arr(r.PTRptSet);
    o[QStringLiteral("PTRpt")] = Arr(r.PTRpt);
    o[QStringLiteral("SegRptSet")] = Arr(r.SegRptSet);
    o[QStringLiteral("SegRpt")] = Arr(r.SegRpt);
    o[QStringLiteral("PIDNo")] = Arr(r.PIDNo);
    o[QStringLiteral("EndDate")] = Arr(r.EndDate);
    o[QStringLiteral("FixMode")] = Arr(r.FixMode);
    o[QStringLiteral("EndShown")] = Arr(r.EndShown);
    o[QStringLiteral("TempDev")] = Arr(r.TempDev);
    o[QStringLiteral("FixTime")] = Arr(r.FixTime);
    o[QStringLiteral("LinkedRun")] = r.LinkedRun;
    o[QStringLiteral("UserKeyState")] = Arr(r.UserKeyState);
    o[QStringLiteral("EvtMode")] = Arr(r.EvtMode);
    o[QStringLiteral("PVStat")] = Arr(r.PVStat);
    o[QStringLiteral("StartTime")] = Arr(r.StartTime);
    o[QStringLiteral("ChannelCount")] = r.ChannelCount;
    o[QStringLiteral("EvtWordA")] = Arr(r.EvtWordA);
    o[QStringLiteral("EvtWordB")] = Arr(r.EvtWordB);
    o[QStringLiteral("EvtWordC")] = Arr(r.EvtWordC);
    o[QStringLiteral("EvtWordD")] = Arr(r.EvtWordD);
    o[QStringLiteral("RelayWordA")] = r.RelayWordA;
    o[QStringLiteral("RelayWordB")] = r.RelayWordB;
    o[QStringLiteral("RelayWordC")] = r.RelayWordC;
    o[QStringLiteral("RelayWordD")] = r.RelayWordD;
    o[QStringLiteral("EvtLatchA")] = Arr(r.EvtLatchA);
    o[QStringLiteral("EvtLatchB")] = Arr(r.EvtLatchB);
    o[QStringLiteral("EvtLatchC")] = Arr(r.EvtLatchC);
    o[QStringLiteral("EvtLatchD")] = Arr(r.EvtLatchD);
    o[QStringLiteral("RelayLatchA")] = r.RelayLatchA;
    o[QStringLiteral("RelayLatchB")] = r.RelayLatchB;
    o[QStringLiteral("RelayLatchC")] = r.RelayLatchC;
    o[QStringLiteral("RelayLatchD")] = r.RelayLatchD;
    o[QStringLiteral("Side")] = r.Side;
    o[QStringLiteral("SideMark")] = r.SideMark;
    o[QStringLiteral("SideAltA")] = r.SideAltA;
    o[QStringLiteral("SideAltB")] = r.SideAltB;
    o[QStringLiteral("CommError")] = CommError[i];
    o[QStringLiteral("FailCount")] = FailCount[i];
    return o;
}

}  // namespace qel
