#include "app_dir.h"
#include "clock.h"
#include "errorlog.h"

#include <gtest/gtest.h>

using namespace qel;

// Guards the line layout (stamp, two blanks, text, CR LF, CP949), the routine's name behind a tail, a file a day.
TEST(ErrorLog, LinesOfStampTwoBlanksAndTextInCp949InOneFileADay) {
    qeltest::AppDir dir;
    ManualClock clock(QDateTime(QDate(2024, 1, 31), QTime(23, 59, 59)));
    SetClock(&clock);
    WriteErrorLog(QStringLiteral("1 송:0300020078"));  // "송" is BC DB in CP949
    ErrorTail(QStringLiteral("Subscript out of range"), QStringLiteral("modFunc.ReadCOMINI"));
    clock.advanceMs(1000);
    WriteErrorLog("User End Program");
    EXPECT_EQ(dir.read("Error/20240131_E.log"),
              QByteArray("20240131 23:59:59  1 \xBC\xDB:0300020078\r\n"
                         "20240131 23:59:59  Subscript out of rangemodFunc.ReadCOMINI\r\n"));
    EXPECT_EQ(dir.read("Error/20240201_E.log"), QByteArray("20240201 00:00:00  User End Program\r\n"));
}

