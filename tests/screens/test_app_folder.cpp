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

namespace {

void Write(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    f.write(bytes);
}

QByteArray Read(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

}  // namespace

// Neither an option nor settings in the program's folder: a per-user folder,
// filled from the defaults on the first start only. Settings in the program's
// folder win over that, and the option over both (made when missing).
TEST(AppFolder, OptionThenProgramFolderThenAUserFolderFilledFromTheDefaults) {
    QStandardPaths::setTestModeEnabled(true);
    const QString user = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir(user).removeRecursively();
    QTemporaryDir prog;
    EXPECT_EQ(ResolveAppFolder("", prog.path(), nullptr), user + "/");
    EXPECT_TRUE(QFile::exists(user + "/SetComm.ini"));
    EXPECT_TRUE(QFile::exists(user + "/string-rkr.xml"));
    EXPECT_FALSE(QFile::exists(user + "/LANGUAGE-INDEX.md"));
    // A later start keeps what the operator changed.
    Write(user + "/SetComm.ini", "[CommSet]\r\nProtocol=RTU/\r\n");
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

// The one-station rule: the lock lives in the application folder itself.
namespace {

// A second path to `folder`, made under `tmp` in the way the row names; for
// "another TMPDIR" the same path, with TMPDIR pointing elsewhere.
QString OtherWayTo(const QString& folder, const QString& tmp, const QString& way) {
    if (way == "symlink") {
        QFile::link(folder, tmp + "/link-to-line");
        return tmp + "/link-to-line";
    }
    if (way == "dot-dot") return folder + "/../" + QFileInfo(folder).fileName() + "/.";
    if (way == "relative") return QDir::current().relativeFilePath(folder);
    if (way == "another TMPDIR") qputenv("TMPDIR", tmp.toLocal8Bit());
    return folder;  // "same"
}

}  // namespace

// Held, the lock keeps out a second station however it names the folder and
// however old the lock file is (a station runs for weeks); ended, its file
// goes and the next station takes the folder.
TEST(InstanceLock, EveryWayToTheSameFolderMeetsTheSameLockUntilItsHolderEnds) {
    const QByteArray savedTmp = qgetenv("TMPDIR");
    for (const QString way : {"same", "symlink", "dot-dot", "relative", "another TMPDIR"}) {
        SCOPED_TRACE(way.toStdString());
        QTemporaryDir tmp;
        const QString folder = tmp.path() + "/line", lockFile = folder + "/" + InstanceLock::FileName();
        ASSERT_TRUE(QDir().mkpath(folder));
        {
            InstanceLock first(folder + "/");
            ASSERT_TRUE(first.acquired()) << first.reason().toStdString();
            EXPECT_EQ(first.reason(), QString());
            const timeval dayAgo[2] = {{time(nullptr) - 86400, 0}, {time(nullptr) - 86400, 0}};
            ASSERT_EQ(utimes(lockFile.toLocal8Bit().constData(), dayAgo), 0);

            InstanceLock second(OtherWayTo(folder, tmp.path(), way));
            EXPECT_FALSE(second.acquired());
            // The operator learns who holds it: this very process.
            EXPECT_TRUE(second.reason().contains(QString::number(QCoreApplication::applicationPid())) &&
                        second.reason().contains(QFileInfo(folder).canonicalFilePath()))
                << second.reason().toStdString();
        }
        EXPECT_FALSE(QFileInfo::exists(lockFile));
        InstanceLock next(OtherWayTo(folder, tmp.path(), way));
        EXPECT_TRUE(next.acquired()) << next.reason().toStdString();
        savedTmp.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", savedTmp);
    }
}

namespace {

// The process id of a station that took the lock on `folder` and was killed
// (SIGKILL: no destructor, no clean-up) - its lock file stays behind.
pid_t KilledHolderOf(const QString& folder) {
    const pid_t child = fork();
    if (child == 0) {
        InstanceLock lock(folder);
        if (lock.acquired()) raise(SIGKILL);
        _exit(1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL ? child : -1;
}

}  // namespace

TEST(InstanceLock, ALockLeftByAStationThatIsGoneIsTakenOver) {
    for (const bool rewritten : {false, true}) {
        SCOPED_TRACE(rewritten ? "as an older station wrote it" : "as the killed one left it");
        QTemporaryDir tmp;
        const QString lockFile = tmp.path() + "/" + InstanceLock::FileName();
        const pid_t dead = KilledHolderOf(tmp.path());
        ASSERT_GT(dead, 0);
        ASSERT_TRUE(QFileInfo::exists(lockFile));
        // An older station wrote process id, program and host only.
        const QByteArray older = QByteArray::number(dead) + "\nqelstation\n" + QSysInfo::machineHostName().toUtf8();
        if (rewritten) Write(lockFile, older + "\n");
        InstanceLock next(tmp.path());
        EXPECT_TRUE(next.acquired()) << next.reason().toStdString();
        EXPECT_EQ(Read(lockFile).split('\n').value(0).toLongLong(), QCoreApplication::applicationPid()) << "ours now";
    }
}

TEST(InstanceLock, ALockFileIsNotCopiedWithTheDefaults) {
    QTemporaryDir defaults, target;
    Write(defaults.path() + "/SetComm.ini", {});
    InstanceLock running(defaults.path());  // a station runs on the defaults folder itself
    ASSERT_TRUE(running.acquired());
    EXPECT_TRUE(FillFromDefaults(defaults.path(), target.path()));
    EXPECT_TRUE(QFile::exists(target.path() + "/SetComm.ini"));
    EXPECT_FALSE(QFile::exists(target.path() + "/" + InstanceLock::FileName()));
    EXPECT_TRUE(InstanceLock(target.path()).acquired());
}

TEST(InstanceLock, AFolderThatIsNotThereIsRefusedWithAReason) {
    QTemporaryDir tmp;
    InstanceLock lock(tmp.path() + "/no-such-folder");
    EXPECT_FALSE(lock.acquired());
    EXPECT_TRUE(lock.reason().contains("does not exist")) << lock.reason().toStdString();
}
