#include "record_json.h"
#include "state.h"

#include <gtest/gtest.h>

// Guards the chamber record that --json prints: every field under its name
// (the values themselves are checked end to end against the simulator).
TEST(RecordJson, NamesEveryField) {
    const QJsonObject o = qel::ChamberRecJson(2);
    for (const char* f : {"PV", "SP", "TSP", "MV", "DP", "Status", "PTNo", "SegNo", "RunTime", "SegTime",
                          "SegTimeSet", "PTRptSet", "PTRpt", "SegRptSet", "SegRpt", "PIDNo", "EndDate", "FixMode",
                          "EndShown", "TempDev", "FixTime", "LinkedRun", "UserKeyState", "EvtMode", "PVStat",
                          "StartTime", "ChannelCount", "EvtWordA", "EvtWordD", "RelayWordA", "RelayWordD",
                          "EvtLatchA", "RelayLatchD", "Side", "SideMark", "SideAltA", "SideAltB", "CommError",
                          "FailCount"})
        EXPECT_TRUE(o.contains(f)) << f;
}
