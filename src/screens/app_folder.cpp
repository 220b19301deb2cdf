#include "app_folder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QStandardPaths>

#ifndef QEL_SOURCE_DEFAULTS
#define QEL_SOURCE_DEFAULTS ""
#endif

namespace qel {

namespace {
QString WithSlash(const QString& dir) {
    const QString abs = QDir(dir).absolutePath();
    return abs.endsWith(u'/') ? abs : abs + u'/';
}
}  // namespace

QString DefaultsFolder(const QString& programDir) {
    const QString installed = QDir(programDir).absoluteFilePath(QStringLiteral("../share/qelstation/app"));
    if (QFile::exists(installed + QStringLiteral("/SetComm.ini"))) return QDir(installed).absolutePath();
    return QStringLiteral(QEL_SOURCE_DEFAULTS);
}

bool FillFromDefaults(const QString& defaults, const QString& target) {
    if (defaults.isEmpty() || !QDir(defaults).exists()) return false;
    bool ok = true;
    QDirIterator it(defaults, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString from = it.next();
        const QString rel = QDir(defaults).relativeFilePath(from);
        if (rel.endsWith(QStringLiteral(".md")) || rel.endsWith(QStringLiteral(".py"))) continue;
        const QString to = QDir(target).filePath(rel);
        if (QFile::exists(to)) continue;
        QDir().mkpath(QFileInfo(to).absolutePath());
        ok = QFile::copy(from, to) && ok;
        QFile(to).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    return ok;
}

QString ResolveAppFolder(const QString& appDirOption, const QString& programDir, QString* error) {
    auto fail = [&](const QString& why) {
        if (error) *error = why;
        return QString();
    };
    if (!appDirOption.isEmpty()) {
        const QFileInfo info(appDirOption);
        if (!info.exists() && !QDir().mkpath(appDirOption)) return fail(QStringLiteral("cannot make ") + appDirOption);
        if (!QFileInfo(appDirOption).isDir() || !QFileInfo(appDirOption).isReadable())
            return fail(QStringLiteral("cannot read the folder ") + appDirOption);
        return WithSlash(appDirOption);
    }
    if (QFile::exists(QDir(programDir).filePath(QStringLiteral("SetComm.ini")))) return WithSlash(programDir);
    const QString user = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (user.isEmpty() || !QDir().mkpath(user)) return fail(QStringLiteral("cannot make a data folder"));
    if (!QFile::exists(QDir(user).filePath(QStringLiteral("SetComm.ini"))))
        FillFromDefaults(DefaultsFolder(programDir), user);
    return WithSlash(user);
}

const QString& InstanceLock::FileName() {
    static const QString name = QStringLiteral(".qelstation.lock");
    return name;
}

InstanceLock::InstanceLock(const QString& appFolder) {
    const QString folder = QFileInfo(appFolder).canonicalFilePath();
    if (folder.isEmpty()) {
        reason_ = QStringLiteral("the folder %1 does not exist").arg(appFolder);
        return;
    }
    const QString path = QDir(folder).filePath(FileName());
    lock_ = std::make_unique<QLockFile>(path);
    // Only an owner that is gone makes the lock stale, never its age: a
    // station holds its folder for weeks.
    lock_->setStaleLockTime(0);
    acquired_ = lock_->tryLock(0);
    if (acquired_) return;

    qint64 pid = 0;
    QString host, program;
    switch (lock_->error()) {
        case QLockFile::LockFailedError:
            if (lock_->getLockInfo(&pid, &host, &program))
                reason_ = QStringLiteral("another station (%1, process %2 on %3) is running on %4")
                              .arg(program.isEmpty() ? QStringLiteral("qelstation") : program)
                              .arg(pid)
                              .arg(host.isEmpty() ? QStringLiteral("this computer") : host, folder);
            else
                reason_ = QStringLiteral(
                              "another station is running on %1 (its lock file %2 cannot be read; remove it "
                              "if no station runs)")
                              .arg(folder, path);
            break;
        case QLockFile::PermissionError:
            reason_ = QStringLiteral("the folder %1 cannot be written, so the station cannot lock it").arg(folder);
            break;
        default:
            reason_ = QStringLiteral("the lock file %1 cannot be made").arg(path);
            break;
    }
}

InstanceLock::~InstanceLock() = default;

}  // namespace qel
