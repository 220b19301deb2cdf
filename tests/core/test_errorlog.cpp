#include "app_dir.h"
#include "clock.h"
#include "errorlog.h"
#include "runtime_error.h"

#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace qel;

// Guards the line layout (stamp, two blanks, text, CR LF, in CP949), the
// routine's name behind an error tail without a blank, and one file a day.
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

// Guards the failure frame: where the log cannot be made, the write raises but the tail never does.
TEST(ErrorLog, TheTailNeverRaisesWhenTheLogCannotBeWritten) {
    qeltest::AppDir dir;
    dir.write("Error", "not a folder");
    EXPECT_THROW(WriteErrorLog("x"), RuntimeError);
    EXPECT_NO_THROW(ErrorTail("desc", "name"));
}

// Guards a disk that fills in the middle of a line: the part that got out is
// cut off again, so that once there is room the next line starts on its own.
TEST(ErrorLog, ALineIsWrittenWholeOrNotAtAll) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    WriteErrorLog("first");
    struct rlimit old {};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit tight = old;
    tight.rlim_cur = static_cast<rlim_t>(QFile(dir.file("Error/20240131_E.log")).size() + 10);  // room for 10 bytes
    setrlimit(RLIMIT_FSIZE, &tight);
    EXPECT_FALSE(TryWriteErrorLog("a line far longer than the room that is left"));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    WriteErrorLog("after");
    EXPECT_EQ(dir.read("Error/20240131_E.log"), QByteArray("20240131 08:15:07  first\r\n20240131 08:15:07  after\r\n"));
}
