#include "app_dir.h"
#include "language.h"
#include "state.h"
#include "value_text.h"

#include <gtest/gtest.h>

using namespace qel;

// Guards a chamber that is off, not polled or lost looking healthy: no value,
// a word of its own; a polled one shows its input status before its value.
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

// Guards the state word of each value of the page's status table, with the
// fixed-mode word deciding among the stopped states (English, no language tables).
TEST(ValueText, StateWordsFollowThePageTable) {
    qeltest::AppDir dir;
    ClearLanguageTables();
    ChamberModel[0] = "QEL2000";
    const struct { int16_t status, fix; const char* word; } rows[] = {
        {1, 0, "PROGRAM RUN"}, {65, 0, "WAIT RUN"}, {2, 1, "FIX RUN"},   {5, 0, "HOLD"},
        {17, 0, "PROGRAM WAIT"}, {18, 1, "FIX WAIT"}, {0, 0, "STOP"},  {0, 1, "FIX STOP"},
        {64, 0, "STOP"},       {64, 3, "FIX STOP"}, {128, 0, "END"},    {192, 0, "END"},
        {128, 1, "FIX STOP"},  {256, 0, "STOP"},    {256, 1, "FIX STOP"}, {3, 0, "3"}, {66, 0, "66"},
    };
    for (const auto& r : rows) {
        Chamber[0].Status[0] = r.status;
        Chamber[0].FixMode[0] = r.fix;
        EXPECT_EQ(StateWord(1, 1), r.word) << r.status << "/" << r.fix;
    }
}
