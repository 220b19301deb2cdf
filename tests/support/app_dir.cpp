#include "app_dir.h"

#include "clock.h"
#include "codepage.h"
#include "errorlog.h"
#include "state.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace qeltest {

AppDir::AppDir() {
    qel::ResetAllState();
    path_ = dir_.path() + QStringLiteral("/");
    qel::AppPath = path_;
}

AppDir::~AppDir() {
    qel::SetClock(nullptr);
    qel::ResetAllState();
}

QByteArray AppDir::read(const QString& name) const {
    QFile f(file(name));
    if (!f.open(QIODevice::ReadOnly)) return {};
    return f.readAll();
}

void AppDir::write(const QString& name, const QByteArray& bytes) const {
    QDir().mkpath(QFileInfo(file(name)).absolutePath());
    QFile f(file(name));
    if (f.open(QIODevice::WriteOnly | QIODevice::Truncate)) f.write(bytes);
}

}  // namespace qeltest

namespace qeltest {
QString AppDir::errorLog() const {
    QFile f(qel::ErrorLogPath());
    if (!f.open(QIODevice::ReadOnly)) return {};
    return qel::FromCodePage(f.readAll());
}
}  // namespace qeltest
