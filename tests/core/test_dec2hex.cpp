#include "app_dir.h"
#include "dec2hex.h"
#include "state.h"

#include <gtest/gtest.h>

using namespace qel;

// Guards command digits: four, half to even, two's complement, scaled by panel 3's channel; "" when they cannot be.
TEST(Dec2Hex, FourDigitsRoundedScaledAndEmptyWhenItCannotBe) {
    qeltest::AppDir dir;
    Chamber[0].DP = {QString(), QStringLiteral("0"), QStringLiteral("00")};
    const struct { float value; int scale; int16_t chamber; const char *panel, *hex; } rows[] = {
        {4, 0, 1, "1", "0004"},     {300, 0, 1, "1", "012C"},   {-200, 0, 1, "1", "FF38"},
        {-1, 0, 1, "1", "FFFF"},    {2.5f, 0, 1, "1", "0002"},  {3.5f, 0, 1, "1", "0004"},
        {25.3f, -1, 1, "1", "0019"}, {25.3f, -1, 1, "2", "00FD"}, {-20, -1, 1, "2", "FF38"},
        {25.3f, -1, 1, "3", "09E2"}, {40000, 0, 1, "1", ""},     {1, -1, 1, "0", ""},
        {1, 0, 31, "1", ""},
    };
    for (const auto& r : rows) {
        StatusPanel3 = r.panel;
        EXPECT_EQ(Dec2Hex(r.value, r.scale, r.chamber), r.hex) << r.value << " panel " << r.panel;
    }
    EXPECT_EQ(Dec2Hex2(25.3f, -1, 1), "00FD");  // panel 3 says channel 1
    Chamber[0].DP[2] = QStringLiteral("000");
    StatusPanel3 = "3";
    EXPECT_EQ(Dec2Hex(25.3f, -1, 1), "");
    const QString log = dir.errorLog();
    EXPECT_EQ(log.count("  OverflowmodSubFunc.Dec2Hex\r\n"), 1) << log.toStdString();
    EXPECT_EQ(log.count("  Subscript out of rangemodSubFunc.Dec2Hex\r\n"), 2);
}
