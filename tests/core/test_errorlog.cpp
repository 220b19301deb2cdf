#include "app_dir.h"
#include "clock.h"
#include "errorlog.h"
#include "runtime_error.h"
#include "state.h"

#include <QDir>
#include <csignal>
#include <sys/resource.h>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

TEST(ErrorLog, WritesStampTwoBlanksTextCrLfInCp949) {
    qeltest::AppDir dir;
    ManualClock clock(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
    SetClock(&clock);
    WriteErrorLog(QStringLiteral("User Start Program"));
    WriteErrorLog(QStringLiteral("1 송:0300020078"));
    // "송" in CP949 is BC DB.
    const QByteArray expected =
        "20240131 08:15:07  User Start Program\r\n"
        "20240131 08:15:07  1 \xBC\xDB:0300020078\r\n";
    EXPECT_EQ(dir.read("Error/20240131_E.log"), expected);
}

TEST(ErrorLog, StartsANewFileEachDay) {
    qeltest::AppDir dir;
    ManualClock clock(QDateTime(QDate(2024, 1, 31), QTime(23, 59, 59)));
    SetClock(&clock);
    WriteErrorLog("a");
    clock.advanceMs(1000);
    WriteErrorLog("b");
    EXPECT_EQ(dir.read("Error/20240131_E.log"), QByteArray("20240131 23:59:59  a\r\n"));
    EXPECT_EQ(dir.read("Error/20240201_E.log"), QByteArray("20240201 00:00:00  b\r\n"));
}

TEST(ErrorTail, AppendsTheLogNameWithoutABlank) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    ErrorTail(QStringLiteral("Subscript out of range"), QStringLiteral("modFunc.ReadCOMINI"));
    EXPECT_EQ(dir.read("Error/20240131_E.log"), QByteArray("20240131 08:15:07  Subscript out of rangemodFunc.ReadCOMINI\r\n"));
}

TEST(ErrorTail, NeverRaisesWhenTheLogCannotBeWritten) {
    qeltest::AppDir dir;
    // A file where the folder should be: the log cannot be made.
    dir.write("Error", "not a folder");
    EXPECT_THROW(WriteErrorLog("x"), RuntimeError);
    EXPECT_NO_THROW(ErrorTail("desc", "name"));
}

// A disk that fills in the middle of a line: the part that got out is cut
// off again, so that once there is room the next line starts on its own.
TEST(ErrorLog, ALineIsWrittenWholeOrNotAtAll) {
    qeltest::AppDir dir;
    ManualClock clock(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
    SetClock(&clock);
    WriteErrorLog("first");
    const qint64 before = QFile(dir.file("Error/20240131_E.log")).size();

    struct rlimit old {};
    getrlimit(RLIMIT_FSIZE, &old);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit tight = old;
    tight.rlim_cur = static_cast<rlim_t>(before + 10);  // room for 10 bytes of the next line
    setrlimit(RLIMIT_FSIZE, &tight);
    EXPECT_FALSE(TryWriteErrorLog("a line far longer than the room that is left"));
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);

    WriteErrorLog("after");
    EXPECT_EQ(dir.read("Error/20240131_E.log"),
              QByteArray("20240131 08:15:07  first\r\n20240131 08:15:07  after\r\n"));
    SetClock(nullptr);
}
