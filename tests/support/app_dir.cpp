#include "app_dir.h"

#include "clock.h"
#include "codepage.h"
#include "errorlog.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qeltest {

AppDir::AppDir() : path_(dir_.path() + u'/') {
    qel::ResetAllState();
    qel::AppPath = path_;
}

AppDir::~AppDir() {
    qel::SetClock(nullptr);
    qel::ResetAllState();
}

QByteArray AppDir::read(const QString& name) const {
    QFile f(file(name));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void AppDir::write(const QString& name, const QByteArray& bytes) const {
    QDir().mkpath(QFileInfo(file(name)).absolutePath());
    QFile f(file(name));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(bytes);
}

QString AppDir::errorLog() const {
    QFile f(qel::ErrorLogPath());
    return f.open(QIODevice::ReadOnly) ? qel::FromCodePage(f.readAll()) : QString();
}

}  // namespace qeltest
