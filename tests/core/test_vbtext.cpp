#include "vbtext.h"

#include <gtest/gtest.h>

using qel::Val;

TEST(Val, TakesTheLeadingNumberOfAText) {
    struct Row { const char* text; double value; } rows[] = {
        {"", 0}, {"abc", 0}, {"12abc", 12}, {"  42", 42}, {"1 2", 12}, {"-7", -7}, {"+3", 3},
        {"3.25", 3.25}, {".5", 0.5}, {"1e3", 1000}, {"2D2", 200}, {"1e", 1}, {"9/", 9}, {"300 ", 300},
        {"-", 0}, {"0", 0},
    };
    for (const auto& r : rows) EXPECT_DOUBLE_EQ(Val(QString::fromUtf8(r.text)), r.value) << r.text;
}

TEST(Val, ReadsHexWithFourDigitsAsSixteenBitSigned) {
    struct Row { const char* text; double value; } rows[] = {
        {"&H3F0", 1008}, {"&H3A4", 932}, {"&HFF38", -200}, {"&HFFFF", -1}, {"&H8000", -32768},
        {"&H7FFF", 32767}, {"&h00ff", 255}, {"&H", 0}, {"&HZZ", 0}, {"&H10000", 65536},
        {"&HFFFFFFFF", -1}, {"&H1G", 1},
    };
    for (const auto& r : rows) EXPECT_DOUBLE_EQ(Val(QString::fromUtf8(r.text)), r.value) << r.text;
}

TEST(Format, PrintsUnderThePicturesTheScreensUse) {
    struct Row { double v; const char* pic; const char* out; } rows[] = {
        {12.34, "###0.0", "12.3"}, {12.35, "###0.0", "12.4"}, {-12.35, "###0.0", "-12.4"},
        {0.04, "###0.0", "0.0"}, {-0.04, "###0.0", "0.0"}, {0, "###0.0", "0.0"},
        {12, "##0.", "12."}, {12.5, "##0.", "13."}, {-20, "##0.0", "-20.0"}, {0.5, "##0.", "1."},
        {2.675, "##0.00", "2.68"}, {1.005, "##0.00", "1.01"}, {99.995, "##0.00", "100.00"},
        {7, "00", "07"}, {123, "00", "123"}, {5, "000#", "005"}, {12345, "000#", "12345"},
        {3.5, "#.##", "3.5"}, {0.25, "#.0", ".3"}, {1234.5, "###0.0", "1234.5"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(qel::Format(r.v, QString::fromUtf8(r.pic)), QString::fromUtf8(r.out)) << r.v << " " << r.pic;
}

TEST(FormatDate, KnowsMinutesAfterHoursAndTheFileNameForms) {
    const QDateTime t(QDate(2024, 1, 31), QTime(8, 15, 7));
    EXPECT_EQ(qel::FormatDate(t, "YYYYMMDD HH:MM:SS"), "20240131 08:15:07");
    EXPECT_EQ(qel::FormatDate(t, "yyyy/mm/dd hh:mm:ss"), "2024/01/31 08:15:07");
    EXPECT_EQ(qel::FormatDate(t, "yyyy/mm/dd hh:mm"), "2024/01/31 08:15");
    EXPECT_EQ(qel::FormatDate(t, "yyyy-mm-dd hh:mm:ss"), "2024-01-31 08:15:07");
    EXPECT_EQ(qel::FormatDate(t, "YYYYMMDDHHMMSS"), "20240131081507");
    EXPECT_EQ(qel::FormatDate(t, "YYYYMMDD"), "20240131");
}

TEST(DateSerial, RollsOverAndReadsTwoDigitYears) {
    EXPECT_EQ(qel::DateSerial(2024, 13, 1).date(), QDate(2025, 1, 1));
    EXPECT_EQ(qel::DateSerial(2024, 3, 0).date(), QDate(2024, 2, 29));
    EXPECT_EQ(qel::DateSerial(2024, 0, 1).date(), QDate(2023, 12, 1));
    EXPECT_EQ(qel::DateSerial(2024, 1, 32).date(), QDate(2024, 2, 1));
    EXPECT_EQ(qel::DateSerial(1970, 1, 1), qel::UnsetDate());
    EXPECT_EQ(qel::DateSerial(24, 5, 6).date(), QDate(2024, 5, 6));
    EXPECT_EQ(qel::DateSerial(99, 5, 6).date(), QDate(1999, 5, 6));
    EXPECT_EQ(qel::DateSerial(0, 0, 0).date(), QDate(1999, 11, 30));
}

TEST(Mid, IsEmptyOrShortPastTheEnd) {
    EXPECT_EQ(qel::Mid("0103F0", 3, 4), "03F0");
    EXPECT_EQ(qel::Mid("0103F0", 5, 4), "F0");
    EXPECT_EQ(qel::Mid("0103F0", 9, 4), "");
    EXPECT_EQ(qel::Mid("0103F0", 0, 4), "");
}
