#include "vbtext.h"

#include <gtest/gtest.h>

// Guards Val: blanks skipped, D as exponent, an unfinished exponent ignored, &H with four digits as 16-bit signed.
TEST(Val, TakesTheLeadingNumberOfATextAndHexWithFourDigitsAsSigned) {
    const struct { const char* text; double value; } rows[] = {
        {"", 0},          {"abc", 0},         {"12abc", 12},     {"  42", 42},     {"1 2", 12},   {"-7", -7},
        {"+3", 3},        {"3.25", 3.25},     {".5", 0.5},       {"1e3", 1000},    {"2D2", 200},  {"1e", 1},
        {"9/", 9},        {"-", 0},           {"&H3F0", 1008},   {"&HFF38", -200}, {"&HFFFF", -1},
        {"&H8000", -32768}, {"&H7FFF", 32767}, {"&h00ff", 255},  {"&H", 0},        {"&HZZ", 0},
        {"&H10000", 65536}, {"&HFFFFFFFF", -1}, {"&H1G", 1},
    };
    for (const auto& r : rows) EXPECT_DOUBLE_EQ(qel::Val(QString::fromUtf8(r.text)), r.value) << r.text;
}

// Guards the screens' pictures: half away from zero in decimal digits, no "-0.0", forced and optional digits.
TEST(Format, PrintsUnderThePicturesTheScreensUse) {
    const struct { double v; const char *pic, *out; } rows[] = {
        {12.34, "###0.0", "12.3"}, {12.35, "###0.0", "12.4"}, {-12.35, "###0.0", "-12.4"}, {-0.04, "###0.0", "0.0"},
        {0.04, "###0.0", "0.0"},   {12.5, "##0.", "13."},     {0.5, "##0.", "1."},        {-20, "##0.0", "-20.0"},
        {2.675, "##0.00", "2.68"}, {1.005, "##0.00", "1.01"}, {99.995, "##0.00", "100.00"}, {7, "00", "07"},
        {123, "00", "123"},        {5, "000#", "005"},        {12345, "000#", "12345"},   {3.5, "#.##", "3.5"},
        {0.25, "#.0", ".3"},       {1234.5, "###0.0", "1234.5"},
    };
    for (const auto& r : rows) EXPECT_EQ(qel::Format(r.v, r.pic), QString(r.out)) << r.v << " " << r.pic;
}

// Guards the dates: "mm" after hours is minutes; DateSerial rolls months and days over, two-digit years 1930-2029.
TEST(Dates, FormatDateAndDateSerial) {
    const QDateTime t(QDate(2024, 1, 31), QTime(8, 15, 7));
    const struct { const char *form, *out; } forms[] = {
        {"YYYYMMDD HH:MM:SS", "20240131 08:15:07"}, {"yyyy/mm/dd hh:mm", "2024/01/31 08:15"},
        {"yyyy-mm-dd hh:mm:ss", "2024-01-31 08:15:07"}, {"YYYYMMDDHHMMSS", "20240131081507"}, {"YYYYMMDD", "20240131"},
    };
    for (const auto& f : forms) EXPECT_EQ(qel::FormatDate(t, f.form), f.out) << f.form;
    const struct { int y, m, d; QDate date; } serials[] = {
        {2024, 13, 1, {2025, 1, 1}}, {2024, 3, 0, {2024, 2, 29}}, {2024, 0, 1, {2023, 12, 1}},
        {2024, 1, 32, {2024, 2, 1}}, {29, 5, 6, {2029, 5, 6}},    {30, 5, 6, {1930, 5, 6}}, {0, 0, 0, {1999, 11, 30}},
    };
    for (const auto& s : serials) EXPECT_EQ(qel::DateSerial(s.y, s.m, s.d).date(), s.date) << s.y << "-" << s.m;
    EXPECT_EQ(qel::DateSerial(1970, 1, 1), qel::UnsetDate());
}

// Guards Mid past the end and before the start.
TEST(Mid, IsEmptyOrShortPastTheEnd) {
    EXPECT_EQ(qel::Mid("0103F0", 3, 4) + "|" + qel::Mid("0103F0", 5, 4), "03F0|F0");
    EXPECT_EQ(qel::Mid("0103F0", 9, 4) + qel::Mid("0103F0", 0, 4), "");
}
