// ReadDataGraph, the shared trend colours and the graph-settings writers.
#include "graph_settings.h"
#include "runtime_error.h"
#include "settings_fixture.h"
#include "settings_state.h"
#include "state.h"

#include <QFile>

namespace {

using qel::GraphInfo;

class GraphSettingsTest : public SettingsTest {};

TEST_F(GraphSettingsTest, ScaleKeysNameTheChamberFirstAndColourKeysTheTrace) {
    write("SetScreensGraphInfo.ini", Crlf("[Set_3]\n"
                                          "MAX_3_1=150\n"
                                          "MAX_1_3=99\n"  // chamber 1's key in chamber 3's section: not read
                                          "Min_3_2=-40\n"
                                          "X_MAJOR_3=6\n"
                                          "Y_MAJOR_3=8\n"
                                          "[Set_7]\n"
                                          "COLOR_3_7=16777215\n"
                                          "COLOR_7_3=111\n"  // trace 7 of chamber 3: not in this section
                                          "C_T_SP7=1\n"
                                          "C_T_SP_7=0\n"
                                          "[PATTERN_Set]\n"
                                          "MAX=180\n"));
    qel::ReadDataGraph(0);

    EXPECT_EQ(errorLines(), QStringList());
    EXPECT_EQ(GraphInfo[3].Max[0], 150);
    EXPECT_EQ(GraphInfo[3].Max[2], 10);  // default
    EXPECT_EQ(GraphInfo[1].Max[2], 10);
    EXPECT_EQ(GraphInfo[3].Min[1], -40);
    EXPECT_EQ(GraphInfo[3].Min[0], 0);
    EXPECT_EQ(GraphInfo[3].XMajor, 6);
    EXPECT_EQ(GraphInfo[3].YMajor, 8);
    EXPECT_EQ(GraphInfo[7].Color[2], 16777215);
    EXPECT_EQ(GraphInfo[3].Color[6], 0);
    EXPECT_EQ(GraphInfo[7].CurrentOrTargetSP, 1);
    EXPECT_EQ(GraphInfo[30].Max[0], 10);   // no section at all
    EXPECT_EQ(GraphInfo[31].Max[0], 0);    // past the chambers: untouched
    EXPECT_EQ(qel::PatternGraph.Max, 10);  // the pattern graph is read only with 99
}

TEST_F(GraphSettingsTest, Which99ReadsOnlyThePatternGraph) {
    write("SetScreensGraphInfo.ini",
          Crlf("[Set_1]\nMAX_1_1=150\n[PATTERN_Set]\nMAX=180\nMin=-20\nX_MAJOR=12\n"));
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::PatternGraph.Max, 180);
    EXPECT_EQ(qel::PatternGraph.Min, -20);
    EXPECT_EQ(qel::PatternGraph.XMajor, 12);
    EXPECT_EQ(qel::PatternGraph.YMajor, 0);
    EXPECT_EQ(GraphInfo[1].Max[0], 0);
}

TEST_F(GraphSettingsTest, ValuesOverNineCharactersAreCutAndOverflowStops) {
    write("SetScreensGraphInfo.ini", Crlf("[Set_1]\nCOLOR_1_1=1234567890\n[Set_2]\nMAX_2_1=40000\n"));
    qel::ReadDataGraph(0);
    EXPECT_EQ(GraphInfo[1].Color[0], 123456789);
    EXPECT_EQ(GraphInfo[1].Max[0], 10);
    EXPECT_EQ(errorLines(), QStringList{"OverflowmodFunc.ReadDataGraph"});
    EXPECT_EQ(GraphInfo[2].Max[0], 0);  // where it stopped
    EXPECT_EQ(GraphInfo[3].Max[0], 0);
}

TEST_F(GraphSettingsTest, TrendLineColoursAreSharedAndDefaultToBlack) {
    qel::ReadGraphLineColors();
    EXPECT_EQ(qel::GraphLine.BackColor, 0);
    write("SetGraphInfo.ini", Crlf("[Line]\nBackColor=16711680\nTimeColor=65280\nGridColor=\n"));
    qel::ReadGraphLineColors();
    EXPECT_EQ(qel::GraphLine.BackColor, 16711680);
    EXPECT_EQ(qel::GraphLine.TimeColor, 65280);
    EXPECT_EQ(qel::GraphLine.GridColor, 0);
    write("SetGraphInfo.ini", Crlf("[Line]\nBackColor=99999999999\n"));  // nine digits are read: fits
    EXPECT_NO_THROW(qel::ReadGraphLineColors());
    EXPECT_EQ(qel::GraphLine.BackColor, 999999999);
    write("SetGraphInfo.ini", Crlf("[Line]\nTimeColor=3E9\n"));  // beyond 32 bits: for the caller's frame
    EXPECT_THROW(qel::ReadGraphLineColors(), qel::RuntimeError);
}

TEST_F(GraphSettingsTest, GraphSetStoreWritesTheChambersKeysAndTheSharedColours) {
    write("SetScreensGraphInfo.ini", Crlf("[Set_2]\nMAX_2_1=100\nC_T_SP2=0\n[Set_3]\nMAX_3_1=1\n"));
    write("SetUserTag.ini", Crlf("[SDP_1]\n2=0/\n"));
    qel::Chamber[1].DP = {"0", "", ""};
    qel::GraphSetChoice c;
    c.max = {200, 150, 100};
    c.min = {-50, 0, 5};
    c.xMajor = 6;
    c.yMajor = 4;
    c.decimalPlaces = {1, 0, 2};  // channel 1 and 2 as they are, channel 3 changes
    c.currentOrTargetSP = 1;
    c.colors = {0, 16777215, 8421504};
    qel::StoreGraphSettings(2, c);

    EXPECT_EQ(read("SetScreensGraphInfo.ini"),
              Crlf("[Set_2]\nMAX_2_1=200\nC_T_SP2=1\n"
                   "Min_2_1=-50\nMin_2_2=0\nMAX_2_2=150\nMin_2_3=5\nMAX_2_3=100\n"
                   "X_MAJOR_2=6\nY_MAJOR_2=4\n"
                   "[Set_3]\nMAX_3_1=1\n"));
    EXPECT_EQ(read("SetUserTag.ini"), Crlf("[SDP_1]\n2=0/\n[SDP_3]\n2=00/\n"));
    EXPECT_EQ(read("SetGraphInfo.ini"), Crlf("[Line]\nBackColor=0\nTimeColor=16777215\nGridColor=8421504\n"));
    EXPECT_EQ(GraphInfo[2].Max[1], 150);
    EXPECT_EQ(GraphInfo[2].CurrentOrTargetSP, 1);
    EXPECT_EQ(qel::Chamber[1].DP[2], "00");
    EXPECT_EQ(qel::GraphLine.GridColor, 8421504);
    EXPECT_EQ(errorLines(), QStringList());
}

TEST_F(GraphSettingsTest, GraphSetStoreForABadChamberLogsAndWritesNothing) {
    qel::StoreGraphSettings(31, qel::GraphSetChoice{});
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangemodFunc.ReadDataGraph"});
    EXPECT_FALSE(QFile::exists(app.file("SetScreensGraphInfo.ini")));
    EXPECT_FALSE(QFile::exists(app.file("SetGraphInfo.ini")));
}

TEST_F(GraphSettingsTest, PatternScaleAndTraceColourWriters) {
    qel::StorePatternGraphScale({180, -20, 12, 5});
    qel::StoreTraceColor(7, 3, 255);
    qel::StoreTraceColor(7, 10, 1);  // no trace 10: logged, not written
    EXPECT_EQ(read("SetScreensGraphInfo.ini"),
              Crlf("[PATTERN_Set]\nMAX=180\nMin=-20\nX_MAJOR=12\nY_MAJOR=5\n[Set_7]\nCOLOR_3_7=255\n"));
    EXPECT_EQ(GraphInfo[7].Color[2], 255);
    EXPECT_EQ(errorLines(), QStringList{"Subscript out of rangemodFunc.ReadDataGraph"});
    qel::ReadDataGraph(99);
    EXPECT_EQ(qel::PatternGraph.Min, -20);
}

}  // namespace
