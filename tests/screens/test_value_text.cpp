#include "app_dir.h"
#include "language.h"
#include "state.h"
#include "value_text.h"

#include <gtest/gtest.h>

using namespace qel;

// Guards an off, unpolled or lost chamber looking healthy, and the input status shown before the value.
TEST(ValueText, DeadChambersShowNoValueAndInputStatusWinsInOrder) {
    qeltest::AppDir dir;
    ClearLanguageTables();
    Chamber[0].DP = {"0", "", "00"};
    Chamber[0].PV = {25.34, 25.0, -1.5};
    const struct { const char *use, *model; int16_t commError, pvstat; const char *word, *pv; } rows[] = {
        {"1", "QEL2000", 0, 0, "STOP", "25.3"},
        {"1", "QEL2000", 0, 2 | 8, "STOP", "B.OUT"},
        {"1", "QEL2000", 0, 8 | 16, "STOP", "+OVER"},
        {"1", "QEL2000", 0, 16, "STOP", "-OVER"},
        {"1", "QEL2000", 0, 1 | 4 | 32, "STOP", "25.3"},
        {"1", "QEL2000", -1, 2, "LOST", "-.-"},
        {"1", "QEL3000", 0, 0, "NOT POLLED", "-.-"},  // no poll block: not one of the five
        {"1", "", 0, 0, "NOT POLLED", "-.-"},
        {"0", "QEL2100", 0, 0, "OFF", "-.-"},
    };
    for (const auto& r : rows) {
        ChamberUse[0] = r.use;
        ChamberModel[0] = r.model;
        CommError[0] = r.commError;
        Chamber[0].PVStat[0] = r.pvstat;
        EXPECT_EQ(StateWord(1, 1) + " " + PVText(1, 1), QString("%1 %2").arg(r.word, r.pv)) << r.model << r.pvstat;
    }
    ChamberUse[0] = "1";
    ChamberModel[0] = "QEL2000";
    CommError[0] = 0;
    EXPECT_EQ(PVText(1, 2) + " " + PVText(1, 3), "25 -1.50");  // the channel's decimal places
}

