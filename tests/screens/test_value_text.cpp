#include "app_dir.h"
#include "language.h"
#include "state.h"
#include "value_text.h"

#include <gtest/gtest.h>

using namespace qel;

namespace {
void PolledChamber() {
    ChamberModel[0] = "QEL2000";
    ChamberUse[0] = "1";
}
}  // namespace

TEST(ValueText, InputStatusWinsInOrderAndALostChamberShowsNoValue) {
    qeltest::AppDir dir;
    PolledChamber();
    Chamber[0].DP = {"0", "", "00"};
    Chamber[0].PV = {25.34, 25.0, -1.5};
    const struct { int16_t pvstat; const char* text; } rows[] = {
        {0, "25.3"}, {2 | 8, "B.OUT"}, {8 | 16, "+OVER"}, {16, "-OVER"}, {1 | 4 | 32, "25.3"},
    };
    for (const auto& r : rows) {
        Chamber[0].PVStat[0] = r.pvstat;
        EXPECT_EQ(PVText(1, 1), r.text) << r.pvstat;
    }
    EXPECT_EQ(PVText(1, 2), "25");
    EXPECT_EQ(PVText(1, 3), "-1.50");
    CommError[0] = -1;
    Chamber[0].PVStat[0] = 2;
    EXPECT_EQ(PVText(1, 1), "-.-");
    EXPECT_EQ(StateWord(1, 1), "LOST");
}

// The chamber page's table of status values: which word each value names,
// with the fixed-mode word deciding among the stopped states.
TEST(ValueText, StateKeysFollowThePageTable) {
    const struct { int status, fixMode, key; } rows[] = {
        {1, 0, 2},   {65, 0, 3},   {2, 1, 4},    {5, 0, 5},    {17, 0, 6},  {18, 1, 7},
        {0, 0, 10},  {0, 1, 9},    {64, 0, 10},  {64, 3, 9},   {128, 0, 8}, {192, 0, 8},
        {128, 1, 9}, {256, 0, 10}, {256, 1, 9},  {3, 0, 0},    {4, 0, 0},   {66, 0, 0},
    };
    for (const auto& r : rows) EXPECT_EQ(StateKey(r.status, r.fixMode), r.key) << r.status << "/" << r.fixMode;
}

TEST(ValueText, StateWordsInEnglishWithoutLanguageTables) {
    qeltest::AppDir dir;
    ClearLanguageTables();
    PolledChamber();
    const struct { int16_t status; int16_t fix; const char* word; } rows[] = {
        {1, 0, "PROGRAM RUN"}, {2, 1, "FIX RUN"}, {5, 0, "HOLD"}, {65, 0, "WAIT RUN"},
        {17, 0, "PROGRAM WAIT"}, {0, 0, "STOP"}, {128, 0, "END"}, {99, 0, "99"},
    };
    for (const auto& r : rows) {
        Chamber[0].Status[0] = r.status;
        Chamber[0].FixMode[0] = r.fix;
        EXPECT_EQ(StateWord(1, 1), r.word) << r.status;
    }
}

// A chamber the walk never reads must not look healthy: no state word of a
// controller, no value.
TEST(ValueText, ChambersThatAreNotPolledShowNoValues) {
    qeltest::AppDir dir;
    Chamber[0].PV[0] = 0.0;
    ChamberUse[0] = "1";
    for (const char* model : {"QEL2200", "QEL2300", "QEL2400", "QEL9999", ""}) {
        ChamberModel[0] = model;
        EXPECT_EQ(StateWord(1, 1), "NOT POLLED") << model;
        EXPECT_EQ(PVText(1, 1), "-.-") << model;
    }
    ChamberModel[0] = "QEL2100";
    ChamberUse[0] = "0";
    EXPECT_EQ(StateWord(1, 1), "OFF");
    EXPECT_EQ(ValueText(1, 1, 12.5), "-.-");
}
