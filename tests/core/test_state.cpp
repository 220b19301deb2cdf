#include "record_json.h"
#include "runtime_error.h"
#include "state.h"

#include <QJsonArray>
#include <gtest/gtest.h>

using namespace qel;

TEST(RecordJson, NamesEveryFieldAndTheHealth) {
    ResetAllState();
    Chamber[1].PV[0] = -20.0;
    CommError[1] = -1;
    FailCount[1] = 5;
    const QJsonObject o = ChamberRecJson(2);
    EXPECT_EQ(o["PV"].toArray()[0].toDouble(), -20.0);
    EXPECT_EQ(o["CommError"].toInt(), -1);
    EXPECT_EQ(o["FailCount"].toInt(), 5);
    for (const char* f : {"SP", "TSP", "MV", "DP", "Status", "PTNo", "SegNo", "RunTime", "SegTime", "SegTimeSet",
                          "PTRptSet", "PTRpt", "SegRptSet", "SegRpt", "PIDNo", "EndDate", "FixMode", "EndShown",
                          "TempDev", "FixTime", "LinkedRun", "UserKeyState", "EvtMode", "PVStat", "StartTime",
                          "ChannelCount", "EvtWordA", "EvtWordD", "RelayWordA", "RelayWordD", "EvtLatchA",
                          "RelayLatchD", "Side", "SideMark", "SideAltA", "SideAltB"})
        EXPECT_TRUE(o.contains(f)) << f;
}
