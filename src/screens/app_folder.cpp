#include "app_folder.h"

#include <QCryptographicHash>
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

InstanceLock::InstanceLock(const QString& appFolder) {
    const QByteArray key =
        QCryptographicHash::hash(QDir(appFolder).absolutePath().toUtf8(), QCryptographicHash::Sha1).toHex().left(16);
    lock_ = std::make_unique<QLockFile>(
        QDir::temp().filePath(QStringLiteral("qelstation-") + QString::fromLatin1(key) + QStringLiteral(".lock")));
    acquired_ = lock_->tryLock(0);
}

InstanceLock::~InstanceLock() = default;

}  // namespace qel
