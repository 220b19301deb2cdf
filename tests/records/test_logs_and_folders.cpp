#include "app_dir.h"
#include "clock.h"
#include "folders.h"
#include "message_log.h"
#include "runtime_error.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

// Guards the message log's place (one folder per chamber name, in UTF-8; one
// file a day) and its line layout.
TEST(MessageLog, OneFilePerChamberNameAndDay) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    ChamberName[0] = ChamberName[1] = QStringLiteral("항온조 A");  // two chambers, one name: one log
    WriteMessageLog(QStringLiteral("  Chamber 1     CH1   START RUN"), 1);
    WriteMessageLog(QStringLiteral("START HOLD"), 2);
    EXPECT_EQ(dir.read(QStringLiteral("Message/항온조 A/20240131_M.log")),
              "20240131 08:15:07    Chamber 1     CH1   START RUN\r\n20240131 08:15:07  START HOLD\r\n");
}

// Guards a log folder removed under the running station (made again), and
// one that cannot be made (raised for the caller's failure frame).
TEST(MessageLog, AMissingFolderIsMadeAndAnUnwritableOneRaises) {
    qeltest::AppDir dir;
    ManualClock clock;
    SetClock(&clock);
    ChamberName[0] = QStringLiteral("C1");
    EXPECT_NO_THROW(WriteMessageLog("START WAIT", 1));
    EXPECT_TRUE(dir.read("Message/C1/20240131_M.log").endsWith("START WAIT\r\n"));
    QDir(dir.file("Message")).removeRecursively();
    dir.write("Message", "a file where the folder should be");
    EXPECT_THROW(WriteMessageLog("x", 1), RuntimeError);
}

// Guards the tree for the chambers in use, and that a folder that cannot be
// made ends the routine quietly with the later ones unmade.
TEST(Folders, MakesTheTreeInOrderAndStopsQuietlyAtOneThatCannotBeMade) {
    qeltest::AppDir dir;
    MaxChamberNo = 2;
    ChamberName[0] = QStringLiteral("North");
    ChamberName[1] = QStringLiteral("South");
    ChamberName[2] = QStringLiteral("Unused");
    dir.write("Message", "in the way");
    EXPECT_NO_THROW(MakeFolders());
    EXPECT_TRUE(QDir(dir.file("DATA/South")).exists());
    EXPECT_FALSE(QDir(dir.file("Error")).exists() || QDir(dir.file("PTN")).exists());
    QFile::remove(dir.file("Message"));
    MakeFolders();
    for (const char* d : {"DATA/North", "DATA/South", "Message/North", "Message/South", "Error", "PTN", "FILE_TEXT",
                          "FILE_EXCEL", "FILE_JPG"})
        EXPECT_TRUE(QDir(dir.file(d)).exists()) << d;
    EXPECT_FALSE(QDir(dir.file("DATA/Unused")).exists());
}

// Guards the start-up clean-up: trend files of chambers 1 to MaxChamberNo only.
TEST(Folders, TrendFilesAreDeletedUpToTheChamberCountOnly) {
    qeltest::AppDir dir;
    MaxChamberNo = 3;
    for (int n = 1; n <= 4; ++n) dir.write(QStringLiteral("%1OPData.csv").arg(n), "x");
    DeleteTrendFiles();
    EXPECT_FALSE(QFile::exists(dir.file("1OPData.csv")) || QFile::exists(dir.file("3OPData.csv")));
    EXPECT_TRUE(QFile::exists(dir.file("4OPData.csv")));
}
