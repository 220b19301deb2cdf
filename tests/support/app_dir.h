// A fresh application folder in a temporary directory, with the globals
// reset and AppPath pointing into it; removed again with the object.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace qeltest {

class AppDir {
public:
    AppDir();
    ~AppDir();
    const QString& path() const { return path_; }  // ends in "/"
    QString file(const QString& name) const { return path_ + name; }
    QByteArray read(const QString& name) const;
    void write(const QString& name, const QByteArray& bytes) const;
    // Today's error log (by the current clock), decoded from CP949.
    QString errorLog() const;

private:
    QTemporaryDir dir_;
    QString path_;
};

}  // namespace qeltest
