#include "app_dir.h"
#include "dec2hex.h"
#include "errorlog.h"
#include "state.h"

#include <QFileInfo>
#include <gtest/gtest.h>

using namespace qel;

TEST(Dec2Hex, GivesFourDigitsWithTwosComplementForNegatives) {
    qeltest::AppDir dir;
    EXPECT_EQ(Dec2Hex(4, 0, 1), "0004");
    EXPECT_EQ(Dec2Hex(300, 0, 1), "012C");
    EXPECT_EQ(Dec2Hex(-200, 0, 1), "FF38");
    EXPECT_EQ(Dec2Hex(-1, 0, 1), "FFFF");
    EXPECT_EQ(Dec2Hex(2.5f, 0, 1), "0002");  // half to even
    EXPECT_EQ(Dec2Hex(3.5f, 0, 1), "0004");
}

TEST(Dec2Hex, ScalesByTheDecimalPlacesOfTheChannelOnPanelThree) {
    qeltest::AppDir dir;
    Chamber[0].DP = {QString(), QStringLiteral("0"), QStringLiteral("00")};
    StatusPanel3 = QStringLiteral("1");
    EXPECT_EQ(Dec2Hex(25.3f, -1, 1), "0019");
    StatusPanel3 = QStringLiteral("2");
    EXPECT_EQ(Dec2Hex(25.3f, -1, 1), "00FD");
    EXPECT_EQ(Dec2Hex(-20.0f, -1, 1), "FF38");
    StatusPanel3 = QStringLiteral("3");
    EXPECT_EQ(Dec2Hex(25.3f, -1, 1), "09E2");
    // The twin takes channel 2 whatever the panel says.
    EXPECT_EQ(Dec2Hex2(25.3f, -1, 1), "00FD");
    Chamber[0].DP[2] = QStringLiteral("000");
    EXPECT_EQ(Dec2Hex(25.3f, -1, 1), "");
}

TEST(Dec2Hex, OutOfRangeLogsAndGivesEmpty) {
    qeltest::AppDir dir;
    EXPECT_EQ(Dec2Hex(40000, 0, 1), "");
    StatusPanel3 = QStringLiteral("0");
    EXPECT_EQ(Dec2Hex(1, -1, 1), "");
    EXPECT_EQ(Dec2Hex(1, 0, 31), "");
    const QString log = QString::fromUtf8(dir.read("Error/" + QFileInfo(ErrorLogPath()).fileName()));
    EXPECT_TRUE(log.contains("  OverflowmodSubFunc.Dec2Hex\r\n"));
    EXPECT_EQ(log.count("Subscript out of rangemodSubFunc.Dec2Hex"), 2);
}
