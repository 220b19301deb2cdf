#include "record_json.h"
#include "runtime_error.h"
#include "state.h"

#include <QJsonArray>
#include <gtest/gtest.h>

using namespace qel;

TEST(State, DefaultsAreThoseOfANewInstallation) {
    ResetAllState();
    EXPECT_EQ(Protocol, "RTU");
    EXPECT_EQ(PortNumber, 2);
    EXPECT_EQ(BaudRate, "9600");
    EXPECT_EQ(Parity, "None");
    EXPECT_EQ(RemotePort, 502);
    EXPECT_EQ(PCSpeed, 300);
    EXPECT_EQ(FileSave, 30);
    EXPECT_EQ(ChamberUse[29], "1");
    EXPECT_EQ(ChamberName[0], "1");
    EXPECT_EQ(ChamberAddress[0], "1");
    EXPECT_EQ(StopLatch[0][0], -1);
    EXPECT_EQ(RunLatch[4][29], 0);
    EXPECT_EQ(CommError[0], 0);
}

TEST(State, ChannelCountByModel) {
    EXPECT_EQ(ChannelCountOf("QEL2000"), 1);
    EXPECT_EQ(ChannelCountOf("QEL2100"), 2);
    EXPECT_EQ(ChannelCountOf("QEL2400"), 3);
    EXPECT_EQ(ChannelCountOf("QEL2200"), 0);
    EXPECT_EQ(ChannelCountOf("qel2000"), 0);
}

TEST(State, IndexOutsideTheTableIsARunTimeError) {
    EXPECT_EQ(ChamberIndex(1), 0);
    EXPECT_EQ(ChamberIndex(30), 29);
    EXPECT_THROW(ChamberIndex(0), RuntimeError);
    EXPECT_THROW(ChamberIndex(31), RuntimeError);
    EXPECT_THROW(ChannelIndex(4), RuntimeError);
}

TEST(State, StartUpResetClearsLatchesAndSamplingTexts) {
    ResetAllState();
    RunLatch[1][3] = -1;
    StopLatch[2][5] = 0;
    LastTick = 1234;
    ResetRunState();
    EXPECT_EQ(RunLatch[1][3], 0);
    EXPECT_EQ(StopLatch[2][5], -1);
    EXPECT_EQ(LastTick, 0);
    EXPECT_EQ(Log[7].LastSave[2], "0");
    EXPECT_EQ(Log[7].GraphTime, "0");
}

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
