#include "app_folder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QSysInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

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

// The one-station rule: the lock lives in the application folder itself.
namespace {

// A second path to `folder`, made under `tmp` in the way the row names.
QString OtherWayTo(const QString& folder, const QString& tmp, const QString& way) {
    if (way == "symlink") {
        const QString link = tmp + "/link-to-line";
        QFile::link(folder, link);
        return link;
    }
    if (way == "dot-dot") return folder + "/../" + QFileInfo(folder).fileName() + "/.";
    if (way == "relative") return QDir::current().relativeFilePath(folder);
    return folder;  // "same"
}

}  // namespace

TEST(InstanceLock, EveryWayToTheSameFolderMeetsTheSameLock) {
    for (const QString way : {"same", "symlink", "dot-dot", "relative"}) {
        SCOPED_TRACE(way.toStdString());
        QTemporaryDir tmp;
        const QString folder = tmp.path() + "/line";
        ASSERT_TRUE(QDir().mkpath(folder));
        InstanceLock first(folder + "/");
        ASSERT_TRUE(first.acquired()) << first.reason().toStdString();
        EXPECT_EQ(first.reason(), QString());
        EXPECT_TRUE(QFileInfo::exists(folder + "/" + InstanceLock::FileName()));

        InstanceLock second(OtherWayTo(folder, tmp.path(), way));
        EXPECT_FALSE(second.acquired());
        // The operator learns who holds it: this very process.
        EXPECT_TRUE(second.reason().contains(QString::number(QCoreApplication::applicationPid())))
            << second.reason().toStdString();
        EXPECT_TRUE(second.reason().contains(QFileInfo(folder).canonicalFilePath())) << second.reason().toStdString();
    }
}

TEST(InstanceLock, AnotherTempFolderDoesNotMakeASecondLock) {
    QTemporaryDir tmp;
    const QByteArray savedTmp = qgetenv("TMPDIR");
    const QString folder = tmp.path() + "/line";
    ASSERT_TRUE(QDir().mkpath(folder) && QDir().mkpath(tmp.path() + "/t1") && QDir().mkpath(tmp.path() + "/t2"));
    qputenv("TMPDIR", (tmp.path() + "/t1").toLocal8Bit());
    InstanceLock first(folder);
    qputenv("TMPDIR", (tmp.path() + "/t2").toLocal8Bit());
    InstanceLock second(folder);
    if (savedTmp.isNull())
        qunsetenv("TMPDIR");
    else
        qputenv("TMPDIR", savedTmp);
    EXPECT_TRUE(first.acquired());
    EXPECT_FALSE(second.acquired());
}

TEST(InstanceLock, ALongRunningStationKeepsItsFolder) {
    QTemporaryDir tmp;
    InstanceLock first(tmp.path());
    ASSERT_TRUE(first.acquired());
    // A lock file last touched a day ago: its owner still runs, so it holds.
    const QString lockFile = tmp.path() + "/" + InstanceLock::FileName();
    const timeval dayAgo[2] = {{time(nullptr) - 86400, 0}, {time(nullptr) - 86400, 0}};
    ASSERT_EQ(utimes(lockFile.toLocal8Bit().constData(), dayAgo), 0);
    InstanceLock second(tmp.path());
    EXPECT_FALSE(second.acquired());
}

TEST(InstanceLock, TheNextStationTakesTheFolderOnceTheFirstHasEnded) {
    QTemporaryDir tmp;
    { InstanceLock first(tmp.path()); ASSERT_TRUE(first.acquired()); }
    EXPECT_FALSE(QFileInfo::exists(tmp.path() + "/" + InstanceLock::FileName()));
    InstanceLock second(tmp.path());
    EXPECT_TRUE(second.acquired());
}

namespace {

// The process id of a station that took the lock on `folder` and was killed
// (SIGKILL: no destructor, no clean-up) - its lock file stays behind.
pid_t KilledHolderOf(const QString& folder) {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        InstanceLock lock(folder);
        const char c = lock.acquired() ? 'y' : 'n';
        if (write(ready[1], &c, 1) != 1) _exit(1);
        for (;;) pause();
    }
    char c = 0;
    const bool held = read(ready[0], &c, 1) == 1 && c == 'y';
    close(ready[0]);
    close(ready[1]);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return held ? child : -1;
}

}  // namespace

TEST(InstanceLock, ALockLeftByAStationThatIsGoneIsTakenOver) {
    const struct { const char* left; } rows[] = {{"killed"}, {"written"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.left);
        QTemporaryDir tmp;
        const QString lockFile = tmp.path() + "/" + InstanceLock::FileName();
        const pid_t dead = KilledHolderOf(tmp.path());
        ASSERT_GT(dead, 0);
        ASSERT_TRUE(QFileInfo::exists(lockFile));
        if (QByteArray(row.left) == "written") {
            // What an older station wrote: process id, program and host only.
            QFile f(lockFile);
            ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(QByteArray::number(dead) + "\nqelstation\n" + QSysInfo::machineHostName().toUtf8() + "\n");
        }
        InstanceLock next(tmp.path());
        EXPECT_TRUE(next.acquired()) << next.reason().toStdString();
        QFile f(lockFile);
        ASSERT_TRUE(f.open(QIODevice::ReadOnly));
        EXPECT_EQ(f.readLine().trimmed().toLongLong(), QCoreApplication::applicationPid());  // the file is ours now
    }
}

TEST(InstanceLock, ALockFileIsNotCopiedWithTheDefaults) {
    QTemporaryDir defaults, target;
    QFile ini(defaults.path() + "/SetComm.ini");
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.close();
    InstanceLock running(defaults.path());  // a station runs on the defaults folder itself
    ASSERT_TRUE(running.acquired());
    EXPECT_TRUE(FillFromDefaults(defaults.path(), target.path()));
    EXPECT_TRUE(QFile::exists(target.path() + "/SetComm.ini"));
    EXPECT_FALSE(QFile::exists(target.path() + "/" + InstanceLock::FileName()));
    InstanceLock there(target.path());
    EXPECT_TRUE(there.acquired());
}

TEST(InstanceLock, AFolderThatIsNotThereIsRefusedWithAReason) {
    QTemporaryDir tmp;
    InstanceLock lock(tmp.path() + "/no-such-folder");
    EXPECT_FALSE(lock.acquired());
    EXPECT_TRUE(lock.reason().contains("does not exist")) << lock.reason().toStdString();
}
