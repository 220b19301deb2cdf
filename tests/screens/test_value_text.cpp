#include "app_dir.h"
#include "state.h"
#include "value_text.h"

#include <gtest/gtest.h>

using namespace qel;

TEST(ValueText, InputStatusWinsInOrderAndALostChamberShowsNoValue) {
    qeltest::AppDir dir;
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

TEST(ValueText, StateWordsByStatusBits) {
    qeltest::AppDir dir;
    const struct { int16_t status; const char* word; } rows[] = {
        {0, "STOP"}, {1, "FIX RUN"}, {2, "PROG RUN"}, {2 | 4, "HOLD"}, {2 | 64, "WAIT"}, {128, "128"},
    };
    for (const auto& r : rows) {
        Chamber[0].Status[0] = r.status;
        EXPECT_EQ(StateWord(1, 1), r.word) << r.status;
    }
}
