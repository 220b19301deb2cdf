#include "app_folder.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qel;

TEST(AppFolder, OptionWinsAndIsMadeWhenMissing) {
    QTemporaryDir tmp;
    QString error;
    const QString dir = tmp.path() + "/new/line";
    EXPECT_EQ(ResolveAppFolder(dir, tmp.path(), &error), dir + "/");
    EXPECT_TRUE(QDir(dir).exists());
}

TEST(AppFolder, ProgramFolderWithSettingsIsUsed) {
    QTemporaryDir prog;
    QFile f(prog.path() + "/SetComm.ini");
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    EXPECT_EQ(ResolveAppFolder("", prog.path(), nullptr), prog.path() + "/");
}

TEST(AppFolder, FirstStartFillsAUserFolderFromTheDefaults) {
    QStandardPaths::setTestModeEnabled(true);
    const QString user = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir(user).removeRecursively();
    QTemporaryDir prog;
    EXPECT_EQ(ResolveAppFolder("", prog.path(), nullptr), user + "/");
    EXPECT_TRUE(QFile::exists(user + "/SetComm.ini"));
    EXPECT_TRUE(QFile::exists(user + "/string-rkr.xml"));
    EXPECT_FALSE(QFile::exists(user + "/LANGUAGE-INDEX.md"));
    // A later start keeps what the operator changed.
    QFile f(user + "/SetComm.ini");
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write("[CommSet]\r\nProtocol=RTU/\r\n");
    f.close();
    ResolveAppFolder("", prog.path(), nullptr);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray("[CommSet]\r\nProtocol=RTU/\r\n"));
    QDir(user).removeRecursively();
    QStandardPaths::setTestModeEnabled(false);
}
