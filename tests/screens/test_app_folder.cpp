#include "app_folder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

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

// Guards the choice of folder: the option, else settings in the program's
// folder, else a per-user folder filled from the defaults on the first start only.
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

// Guards the one-station rule: held, the lock keeps out a second station however it names the folder and
// however old the lock file is (a station runs for weeks); ended, its file goes and the next one takes over.
TEST(InstanceLock, EveryWayToTheSameFolderMeetsTheSameLockUntilItsHolderEnds) {
    const QByteArray savedTmp = qgetenv("TMPDIR");
    for (const QString way : {"same", "symlink", "another TMPDIR"}) {
        SCOPED_TRACE(way.toStdString());
        QTemporaryDir tmp;
        const QString folder = tmp.path() + "/line", lockFile = folder + "/" + InstanceLock::FileName();
        ASSERT_TRUE(QDir().mkpath(folder));
        // A second path to the folder; for "another TMPDIR" the same path, with TMPDIR elsewhere.
        const QString other = way == "symlink" ? tmp.path() + "/link-to-line" : folder;
        ASSERT_TRUE(way != "symlink" || QFile::link(folder, other));
        if (way == "another TMPDIR") qputenv("TMPDIR", tmp.path().toLocal8Bit());
        {
            InstanceLock first(folder + "/");
            ASSERT_TRUE(first.acquired()) << first.reason().toStdString();
            const timeval dayAgo[2] = {{time(nullptr) - 86400, 0}, {time(nullptr) - 86400, 0}};
            ASSERT_EQ(utimes(lockFile.toLocal8Bit().constData(), dayAgo), 0);
            InstanceLock second(other);
            EXPECT_FALSE(second.acquired());
            // The operator learns who holds it: this very process.
            EXPECT_TRUE(second.reason().contains(QString::number(QCoreApplication::applicationPid())))
                << second.reason().toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(lockFile));
        EXPECT_TRUE(InstanceLock(other).acquired());
        savedTmp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", savedTmp);
    }
}

// Guards the take-over of a lock whose station was killed (SIGKILL: no clean-up).
TEST(InstanceLock, ALockLeftByAStationThatIsGoneIsTakenOver) {
    QTemporaryDir tmp;
    const QString lockFile = tmp.path() + "/" + InstanceLock::FileName();
    const pid_t dead = fork();
    if (dead == 0) {
        InstanceLock lock(tmp.path());
        if (lock.acquired()) raise(SIGKILL);
        _exit(1);
    }
    int status = 0;
    waitpid(dead, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ASSERT_TRUE(QFileInfo::exists(lockFile));
    InstanceLock next(tmp.path());
    EXPECT_TRUE(next.acquired()) << next.reason().toStdString();
    EXPECT_EQ(Read(lockFile).split('\n').value(0).toLongLong(), QCoreApplication::applicationPid()) << "ours now";
}
