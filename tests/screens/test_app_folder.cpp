// The application folder a start-up chooses; one station per folder is tested on the program (tests/integration).
#include "app_folder.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qel;

static void Write(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    f.write(bytes);
}

static QByteArray Read(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Guards the folder chosen: the option, else the program's folder with settings, else a per-user one filled once.
TEST(AppFolder, OptionThenProgramFolderThenAUserFolderFilledFromTheDefaults) {
    QStandardPaths::setTestModeEnabled(true);
    const QString user = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir(user).removeRecursively();
    QTemporaryDir prog;
    EXPECT_EQ(ResolveAppFolder("", prog.path(), nullptr), user + "/");
    EXPECT_TRUE(QFile::exists(user + "/string-rkr.xml"));
    EXPECT_FALSE(QFile::exists(user + "/LANGUAGE-INDEX.md"));  // notes are not settings
    Write(user + "/SetComm.ini", "[CommSet]\r\nProtocol=RTU/\r\n");  // the operator's change survives a restart
    ResolveAppFolder("", prog.path(), nullptr);
    EXPECT_EQ(Read(user + "/SetComm.ini"), QByteArray("[CommSet]\r\nProtocol=RTU/\r\n"));
    QDir(user).removeRecursively();
    QStandardPaths::setTestModeEnabled(false);

    Write(prog.path() + "/SetComm.ini", {});
    EXPECT_EQ(ResolveAppFolder("", prog.path(), nullptr), prog.path() + "/");
    const QString option = prog.path() + "/new/line";
    EXPECT_EQ(ResolveAppFolder(option, prog.path(), nullptr), option + "/");
    EXPECT_TRUE(QDir(option).exists());
}
