#include "app_dir.h"
#include "clock.h"
#include "folders.h"
#include "message_log.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qel;

// Guards the message log's place (a folder per chamber name in UTF-8, a file a day) and its line layout.
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

// Guards the folder tree for the chambers in use, and a folder that cannot be made ending the routine quietly.
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
