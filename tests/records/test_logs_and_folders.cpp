#include "app_dir.h"
#include "clock.h"
#include "codepage.h"
#include "folders.h"
#include "message_log.h"
#include "runtime_error.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

TEST(MessageLog, OneFilePerChamberNameAndDay) {
    qeltest::AppDir dir;
    ManualClock clock(QDateTime(QDate(2024, 1, 31), QTime(8, 15, 7)));
    SetClock(&clock);
    ChamberName[0] = QStringLiteral("항온조 A");
    ChamberName[1] = QStringLiteral("항온조 A");  // two chambers, one name: one folder, one log
    WriteMessageLog(QStringLiteral("  Chamber 1     CH1   START RUN"), 1);
    WriteMessageLog(QStringLiteral("START HOLD"), 2);
    // Folder name in UTF-8, contents in CP949.
    const QByteArray expected = "20240131 08:15:07    Chamber 1     CH1   START RUN\r\n"
                                "20240131 08:15:07  START HOLD\r\n";
    EXPECT_EQ(dir.read(QStringLiteral("Message/항온조 A/20240131_M.log")), expected);
}

TEST(MessageLog, FolderRemovedUnderTheStationIsMadeAgain) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    ChamberName[0] = QStringLiteral("C1");
    MaxChamberNo = 1;
    MakeFolders();
    QDir(dir.file("Message/C1")).removeRecursively();
    EXPECT_NO_THROW(WriteMessageLog("START WAIT", 1));
    EXPECT_TRUE(dir.read("Message/C1/20240131_M.log").endsWith("START WAIT\r\n"));
}

TEST(MessageLog, UnwritableLogRaisesForTheCallersFrame) {
    qeltest::AppDir dir;
    ChamberName[0] = QStringLiteral("C1");
    dir.write("Message", "a file where the folder should be");
    EXPECT_THROW(WriteMessageLog("x", 1), RuntimeError);
}

TEST(Folders, MakesTheWholeTreeForTheChambersInUse) {
    qeltest::AppDir dir;
    MaxChamberNo = 2;
    ChamberName[0] = QStringLiteral("North");
    ChamberName[1] = QStringLiteral("South");
    ChamberName[2] = QStringLiteral("Unused");
    MakeFolders();
    for (const char* d : {"DATA", "DATA/North", "DATA/South", "Message", "Message/North", "Message/South", "Error",
                          "PTN", "FILE_TEXT", "FILE_EXCEL", "FILE_JPG"})
        EXPECT_TRUE(QDir(dir.file(d)).exists()) << d;
    EXPECT_FALSE(QDir(dir.file("DATA/Unused")).exists());
}

TEST(Folders, AFolderThatCannotBeMadeLeavesTheLaterOnesUnmade) {
    qeltest::AppDir dir;
    MaxChamberNo = 1;
    ChamberName[0] = QStringLiteral("C1");
    dir.write("Message", "in the way");
    EXPECT_NO_THROW(MakeFolders());
    EXPECT_TRUE(QDir(dir.file("DATA/C1")).exists());
    EXPECT_FALSE(QDir(dir.file("Error")).exists());
    EXPECT_FALSE(QDir(dir.file("PTN")).exists());
}

TEST(Folders, TrendFilesAreDeletedUpToTheChamberCountOnly) {
    qeltest::AppDir dir;
    MaxChamberNo = 3;
    for (int n = 1; n <= 4; ++n) dir.write(QStringLiteral("%1OPData.csv").arg(n), "x");
    DeleteTrendFiles();
    EXPECT_FALSE(QFile::exists(dir.file("1OPData.csv")));
    EXPECT_FALSE(QFile::exists(dir.file("3OPData.csv")));
    EXPECT_TRUE(QFile::exists(dir.file("4OPData.csv")));
}
